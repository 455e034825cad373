#pragma once
// What every dialog stands in: title, a body that scrolls where the screen is small (960 x 540 is enough for each) and
// follows the focus, a line for what went wrong, a row of buttons. Belongs to its parent's window, stays above it.
// Enter presses the primary button, Escape the one that closes. Deletes itself when closed. Main thread.
//
//   dialog->content()->addWidget(form);
//   dialog->addButton(tr("保存"), DialogFrame::Primary, [this] { save(); });
//   dialog->addButton(tr("取消"), DialogFrame::Close);
#include "common/ui/BaseWidget.h"
#include <functional>

class Busy;
class QPushButton;
class QScrollArea;

class DialogFrame : public BaseWidget
{
    Q_OBJECT
public:
    enum ButtonKind { Plain, Primary, Close, Left }; // Left: at the other side of the row
    DialogFrame(const QString &name, const QString &title, QWidget *parent);
    ~DialogFrame() override;

    QVBoxLayout *content() const { return m_content; }
    void setHeading(const QString &text, const QString &tip = {}); // what the dialog is about: a file's name
    void setWanted(const QSize &size);                             // of the body, where the screen has room for it
    QPushButton *addButton(const QString &text, ButtonKind kind = Plain, std::function<void()> hit = {});
    void preferBack();              // the focus stands there: Enter alone must not do what can't be taken back
    void addToRow(QWidget *widget); // at the left of the buttons: a choice, pages

    // Above the buttons; empty: none. With again there's "重试" beside it.
    void setError(const QString &text, std::function<void()> again = {});
    QString error() const;
    void setBusy(bool on, const QString &text = {}); // the body is covered, the primary button rests
    bool busy() const;

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void bringIntoSight(QWidget *field);

    QVBoxLayout *m_content;
    QScrollArea *m_scroll;
    QHBoxLayout *m_row;
    QLabel *m_heading, *m_error;
    QPushButton *m_primary = nullptr;
    QPushButton *m_close = nullptr;
    QPushButton *m_again;
    bool m_preferBack = false;
    std::function<void()> m_retry;
    Busy *m_busy;
};
