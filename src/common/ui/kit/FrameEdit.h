#pragma once
// A field for a frame text. Keys that no frame text has don't come in; pasted or dropped text is tested as a whole, and
// one that can't be taken is told in a message over the window, the field stays as it was. Main thread.
#include <QLineEdit>

class FrameEdit : public QLineEdit
{
    Q_OBJECT
public:
    explicit FrameEdit(QWidget *parent = nullptr);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void take(const QString &text);
};
