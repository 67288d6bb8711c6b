#pragma once
// The small pieces every form and card in the app is built from, so the
// screens look and read alike.

#include <QString>

class QFrame;
class QLabel;
class QLineEdit;
class QScrollArea;
class QVBoxLayout;
class QWidget;

namespace corvale::app {

QLineEdit* lineEdit(const QString& accessibleName, const QString& placeholder, QWidget* parent);

// A problem sentence, hidden until there is one.
QLabel* errorLabel(const QString& accessibleName, QWidget* parent);
// Names a widget for code that looks it up, without the screen reader hearing
// it: a label that carries information must be read as its own text.
void setHandle(QWidget* widget, const QString& handle);
// Shows the message, or hides the label when it is empty.
void showMessage(QLabel* label, const QString& message);
// Ties an error label to the field it speaks of: while it shows, the field's
// accessible description is the error, so a screen reader reads both together.
void tieError(QLabel* error, QWidget* field);

// For a date typed in the right form that the calendar does not have (2027-02-30).
QString notOnTheCalendar(const QString& typed);

// A titled card with an optional caption; `body` receives the layout to fill.
QFrame* card(const QString& heading, const QString& caption, QWidget* parent, QVBoxLayout*& body);

// Lays a fixed-width card out in the middle of `page`, a little above centre.
// A row of stretches centres it rather than an alignment flag, which would
// size the card by its unwrapped text and clip wrapped sentences.
void centreCard(QWidget* page, QWidget* card);
// Puts a screen's content in a scroll area that fills `page`. On a wide screen
// the content stops at `maxWidth` and stays centred, so a row's button stays
// near its words. The area only scrolls: Tab goes to what is inside.
QScrollArea* scrollPage(QWidget* page, QWidget* content, int maxWidth);

// A titled card whose rows a page refills on every change; answers the rows' layout.
QVBoxLayout* rowsCard(const QString& heading, QVBoxLayout* into, QWidget* parent, QWidget** cardOut = nullptr);
// Takes every row out of `layout` and deletes it.
void clearRows(QVBoxLayout* layout);

// Makes Tab follow the order the layouts place things in, top to bottom and
// left to right, instead of the order the widgets were made or moved in.
void orderTabsAsLaidOut(QWidget* root);

}  // namespace corvale::app
