#include "common/ui/kit/RadioGroup.h"
#include <QRadioButton>
#include <QVBoxLayout>

RadioGroup::RadioGroup(QWidget *parent) : QWidget(parent), m_column(new QVBoxLayout(this))
{
    m_column->setContentsMargins(0, 0, 0, 0);
    m_column->setSpacing(0);
}

void RadioGroup::add(const QString &words)
{
    auto *button = new QRadioButton(words, this);
    button->setAccessibleName(words);
    connect(button, &QRadioButton::toggled, this, [this](bool on) {
        if (on)
            emit chosen();
    });
    if (m_buttons.isEmpty())
        setFocusProxy(button);
    m_buttons << button;
    m_column->addWidget(button);
}

int RadioGroup::current() const
{
    for (int i = 0; i < m_buttons.size(); ++i)
        if (m_buttons.at(i)->isChecked())
            return i;
    return -1;
}

void RadioGroup::setCurrent(int at)
{
    if (at >= 0 && at < m_buttons.size())
        return m_buttons.at(at)->setChecked(true);
    for (QRadioButton *button : qAsConst(m_buttons)) { // an exclusive one can't be taken away
        button->setAutoExclusive(false);
        button->setChecked(false);
        button->setAutoExclusive(true);
    }
}
