#pragma once
// What every window of the client stands on: a frameless window with its own head (icon, title, window buttons), moved
// by its head, resized at its edges by the window system (so that snapping works), maximised by a double click. Pages
// inside a window use the role Page: no head, no frame, only drops and hot keys. Main thread.
#include <QBoxLayout>
#include <QLabel>
#include <QTimer>
#include <QToolButton>
#include <QWidget>

class BaseWidget : public QWidget
{
    Q_OBJECT
public:
    enum Role { Window, Dialog, Page }; // a dialog has a fixed size and only the close button
    explicit BaseWidget(Role role, QWidget *parent = nullptr);

    void setTitle(const QString &title);
    QVBoxLayout *body() const { return m_body; } // where the content goes
    QHBoxLayout *head() const { return m_head; } // between title and window buttons; null for a page
    void acceptFiles(bool on);                   // then dropFileList tells the paths of dropped files and folders
    // Shows a dialog over its parent's window, blocking that window's input but not the program.
    void open();
    void centre(); // in the middle of the screen, no larger than it
    // Takes the place and size that the window had under this name, where a screen still shows them, and keeps them
    // from now on.
    void rememberPlace(const QString &name);

signals:
    void hotKey(int key); // Ctrl and a digit: the digit
    void dropFileList(QStringList list);
    void closed();

public slots:
    void on_headMin_clicked();
    virtual void on_headMax_clicked();
    virtual void on_headClose_clicked();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void makeHead();
    void frameChanged();
    void keepPlace();
    void systemMenu(const QPoint &at);
    Qt::Edges edgesAt(const QPoint &at) const;
    QToolButton *headButton(const QString &icon, const QString &name, const QString &tip);

    Role m_role;
    QString m_placeName;
    QTimer m_keep; // a window on the move is kept once it rests
    QVBoxLayout *m_outer = nullptr, *m_body = nullptr;
    QHBoxLayout *m_head = nullptr;
    QWidget *m_headArea = nullptr;
    QLabel *m_title = nullptr;
    QToolButton *m_max = nullptr;
};
