#include "task/Cell.h"
#include <cmath>
#include <limits>
#include <QRegularExpression>
#include <QVariant>

namespace
{
constexpr qlonglong Exact = 1LL << 53;
constexpr double Widest = 9.2e18;
} // namespace

QString Cell::text(const QJsonValue &value)
{
    if (!value.isDouble())
        return value.toString();
    const double real = value.toDouble();
    if (std::abs(real) < Widest && std::floor(real) == real)
        return QString::number(value.toVariant().toLongLong());
    return QString::number(real, 'g', 15);
}

qlonglong Cell::number(const QJsonValue &value)
{
    if (value.isBool())
        return value.toBool() ? 1 : 0;
    if (value.isDouble())
        return std::abs(value.toDouble()) < Widest ? value.toVariant().toLongLong() : 0;
    const QString text = value.toString().trimmed();
    bool whole = false;
    const qlonglong number = text.toLongLong(&whole);
    if (whole)
        return number;
    const double real = text.toDouble();
    return std::abs(real) < Widest ? qlonglong(real) : 0;
}

int Cell::integer(const QJsonValue &value)
{
    const qlonglong wide = number(value);
    return wide < std::numeric_limits<int>::min() || wide > std::numeric_limits<int>::max() ? 0 : int(wide);
}

double Cell::real(const QJsonValue &value)
{
    if (value.isDouble())
        return value.toDouble();
    static const QRegularExpression first(QStringLiteral("-?[0-9]+(\\.[0-9]+)?"));
    return first.match(value.toString().remove(QLatin1Char(','))).captured().toDouble();
}

QString Cell::id(const QJsonValue &value)
{
    const QString plain = text(value).trimmed();
    return plain == QLatin1String("0") ? QString() : plain;
}

QJsonValue Cell::idValue(const QString &id)
{
    bool whole = false;
    const qlonglong number = id.toLongLong(&whole);
    return whole && std::abs(number) <= Exact ? QJsonValue(number) : QJsonValue(id);
}
