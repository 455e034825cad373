#pragma once
// What a task was ordered with (reply of 10409) and what was done to it (reply of 10428), as texts to read. Pure
// functions, any thread.
#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace SubDetail
{
QString text(const QJsonObject &detail); // a line a label; labels without a value are left out
// "操作人：%1     时间：%2     内容：%3" each, as they came; at most MostOperations.
constexpr int MostOperations = 2000;
QStringList operations(const QJsonObject &reply);
} // namespace SubDetail
