#pragma once
// The way from the root down to an entry, out of what a farm tells of its ancestors, in whatever order it tells them
// and with the entry itself or without; a ring ends where it closes. Pure functions, any thread.
#include "view/driver/FileView.h"

namespace DriveChain
{
FileView root(int fileType);
QVector<FileView> of(const QList<SubFile> &family, const QString &id, int fileType); // with the root; the entry last
QStringList names(const QList<SubFile> &family, const SubFile &own); // from the disk on; empty: nothing is told
} // namespace DriveChain
