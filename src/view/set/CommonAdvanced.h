#pragma once
// "高级设置": analysis, filling frames, transfers. Main thread.
#include "view/set/SetPage.h"

class CommonAdvanced : public SetPage
{
    Q_OBJECT
public:
    explicit CommonAdvanced(QWidget *parent);

protected:
    QJsonObject derived(const QJsonObject &values) const override;
    QVariant kept(Settings::Key key, const QJsonValue &shown) const override;

private:
    QVector<Field> analysisFields();
    QVector<Field> transferFields();
};
