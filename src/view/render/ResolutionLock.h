#pragma once
// A button of two states: locked, width and height keep their ratio. Its dynamic property "lock" tells the state to the
// style sheet. Main thread.
#include <QToolButton>

class ResolutionLock : public QToolButton
{
    Q_OBJECT
    Q_PROPERTY(bool locked READ locked WRITE setLocked NOTIFY lockChanged)
public:
    explicit ResolutionLock(QWidget *parent = nullptr);
    bool locked() const { return isChecked(); }
    void setLocked(bool on) { setChecked(on); }
    // The other side of a picture whose one side became now; 0 where there was no size before.
    static int other(int before, int otherBefore, int now);

signals:
    void lockChanged(bool on);

private:
    void restyle();
};
