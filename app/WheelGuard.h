#pragma once
// Keeps the mouse wheel from changing a value the user is not editing: over a
// drop-down, spin box or date field without focus the wheel scrolls the form
// around it instead. One filter serves every such field of the app.

class QWidget;

namespace corvale::app {

// Guards every drop-down, spin box and date field inside `root`, now present.
void guardWheel(QWidget* root);

}  // namespace corvale::app
