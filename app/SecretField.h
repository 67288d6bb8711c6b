#pragma once
// Takes a password field's text into a wiping buffer. Qt keeps its own copy
// in the field until it is cleared, so callers clear the field once the text
// has been used; the intermediate copies made here are wiped before return.

#include "platform/SecureBytes.h"

#include <QByteArray>
#include <QLineEdit>
#include <QString>

namespace corvale::app {

inline SecureBytes takeSecret(const QLineEdit* field) {
    QString text = field->text();
    QByteArray utf8 = text.toUtf8();
    SecureBytes secret(asBytes(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size()))));
    // data() detaches, so these wipe this function's copies and never the field's.
    secureWipe(utf8.data(), static_cast<std::size_t>(utf8.size()));
    secureWipe(text.data(), static_cast<std::size_t>(text.size()) * sizeof(QChar));
    return secret;
}

}  // namespace corvale::app
