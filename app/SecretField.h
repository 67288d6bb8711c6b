#pragma once
// Takes a password field's text into a wiping buffer. Qt keeps its own copy
// in the field until it is cleared, so callers clear the field once the text
// has been used; the UTF-8 copy made on the way is wiped before return.

#include "platform/SecureBytes.h"

#include <QByteArray>
#include <QLineEdit>
#include <QString>

#include <string_view>

namespace corvale::app {

inline SecureBytes secretOf(const QString& text) {
    QByteArray utf8 = text.toUtf8();
    SecureBytes secret(asBytes(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size()))));
    secureWipe(utf8.data(), static_cast<std::size_t>(utf8.size()));
    return secret;
}

inline SecureBytes takeSecret(const QLineEdit* field) { return secretOf(field->text()); }

}  // namespace corvale::app
