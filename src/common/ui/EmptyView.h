#pragma once
// What an empty list says in its middle: an icon, a text, and the way to fill it. Lies over the view and shows itself
// while the model has no rows; the mouse passes through. Main thread; the view is its parent.
#include <QWidget>

class QAbstractItemView;
class QLabel;

class EmptyView : public QWidget
{
    Q_OBJECT
public:
    EmptyView(QAbstractItemView *view, const QString &icon, const QString &text, const QString &hint);
    void setTexts(const QString &text, const QString &hint);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void follow();
    QLabel *m_text, *m_hint;
};
