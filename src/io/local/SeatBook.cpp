#include "io/local/SeatBook.h"
#include "common/UserInfo.h"
#include <QDebug>
#include <QMutex>
#include <QStringList>

namespace
{
QMutex &mutex()
{
    static QMutex one;
    return one;
}

const QString group = QStringLiteral("Server"), key = QStringLiteral("seats");

QStringList known() { return UserInfo::allValue(group, key).toString().split(' ', Qt::SkipEmptyParts); }
} // namespace

void SeatBook::meet(const QString &address)
{
    QMutexLocker lock(&mutex());
    QStringList all = known();
    if (address.isEmpty() || all.contains(address))
        return;
    qDebug().noquote() << "SeatBook::meet" << address;
    all.append(address);
    UserInfo::setAllValue(group, key, all.mid(qMax(0, all.size() - MaxSeats)).join(' '));
}

bool SeatBook::met(const QString &address)
{
    QMutexLocker lock(&mutex());
    return known().contains(address);
}
