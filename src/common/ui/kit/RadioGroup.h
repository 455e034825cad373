#pragma once
// A few choices that all are to be seen, one under the other; one is chosen or none. Long words are broken into lines.
// Arrow keys move the choice, Tab leaves the group. Main thread.
#include <QWidget>

class QRadioButton;
class QVBoxLayout;

class RadioGroup : public QWidget
{
    Q_OBJECT
public:
    explicit RadioGroup(QWidget *parent = nullptr);
    void add(const QString &words);
    int current() const; // -1: none
    void setCurrent(int at);
    QRadioButton *button(int at) const { return m_buttons.at(at); }

signals:
    void chosen(); // another one, by whomever

private:
    QVBoxLayout *m_column;
    QVector<QRadioButton *> m_buttons;
};
