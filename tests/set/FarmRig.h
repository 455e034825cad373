#pragma once
// Hands for the dialogs over the living farm.
#include "support/FarmRig.h"
#include "view/ViewRig.h"
#include <QLineEdit>

inline QString errorOf(QWidget *window)
{
    for (auto *line : window->findChildren<QLabel *>("errorLine"))
        if (!line->isHidden() && !line->text().isEmpty() && line->isVisibleTo(window))
            return line->text();
    return {};
}

// Types into a field of a form, key by key where there is a key for it.
inline bool type(QWidget *window, const char *field, const QString &text)
{
    auto *edit = window->findChild<QLineEdit *>(field);
    if (!edit || !edit->isEnabled())
        return false;
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    if (text == QString::fromLatin1(text.toLatin1()))
        QTest::keyClicks(edit, text);
    else
        edit->insert(text);
    return true;
}
