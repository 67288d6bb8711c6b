#include "app/MainWindow.h"

#include <QApplication>

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Corvale"));
    QApplication::setApplicationDisplayName(QStringLiteral("Corvale"));

    corvale::app::MainWindow window;
    window.show();
    return QApplication::exec();
}
