#pragma once
// "通用设置": start, language, where results go, what is submitted by itself. Main thread.
#include "view/set/SetPage.h"

class CommonSet : public SetPage
{
    Q_OBJECT
public:
    explicit CommonSet(QWidget *parent);
    // The folder that a task's results would go to: an example for the rule as it stands in the field.
    static QString examplePath(const QString &dir, bool ruled, const QString &rule);

protected:
    QJsonObject derived(const QJsonObject &values) const override;
    QVariant kept(Settings::Key key, const QJsonValue &shown) const override;

private:
    void chooseRule();
    QVector<Field> resultFields();
    QVector<Field> submitFields();
};
