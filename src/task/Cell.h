#pragma once
// Values of the server's replies as they may come: numbers as numbers or as texts, identifiers beyond 2^53 as texts.
// Pure functions, any thread.
#include <QJsonObject>
#include <QString>

namespace Cell
{
QString text(const QJsonValue &value); // a number in full digits; empty for what is neither
// 0 for what is no number or doesn't fit.
qlonglong number(const QJsonValue &value);
int integer(const QJsonValue &value);
double real(const QJsonValue &value); // "12.5", "¥12.5": the first number within; 0 where there is none
// An identifier as text, which is how the client holds it; empty where there is none (0 counts as none).
QString id(const QJsonValue &value);
// ... and as it's sent: a number as far as every reader of JSON keeps it, else a text.
QJsonValue idValue(const QString &id);

inline QString text(const QJsonObject &object, const char *key) { return text(object.value(QLatin1String(key))); }
inline qlonglong number(const QJsonObject &object, const char *key) { return number(object.value(QLatin1String(key))); }
inline int integer(const QJsonObject &object, const char *key) { return integer(object.value(QLatin1String(key))); }
inline QString id(const QJsonObject &object, const char *key) { return id(object.value(QLatin1String(key))); }
} // namespace Cell
