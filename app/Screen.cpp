#include "app/Screen.h"

namespace corvale::app {

Screen::Screen(AppContext& context, QWidget* parent) : QWidget(parent), m_context(context) {
    setObjectName(QStringLiteral("page"));
    setAttribute(Qt::WA_StyledBackground, true);
}

}  // namespace corvale::app
