#pragma once
// An editor beside its list: side by side while both fit, and in a narrow
// window the editor takes the list's place until it closes, so neither is
// squeezed past use.

#include <QObject>

class QWidget;

namespace corvale::app {

class SidePanel : public QObject {
public:
    // `list` and `editor` share one parent; `listMinimum` is the narrowest the list still works at.
    SidePanel(QWidget* list, QWidget* editor, int editorWidth, int listMinimum);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void fit();

    QWidget* m_list;
    QWidget* m_editor;
    int m_editorWidth;
    int m_listMinimum;
    bool m_fitting = false;
};

}  // namespace corvale::app
