#include "transfer/up/VandrelCompress.h"
#include "common/VFunc.h"
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <quazip.h>
#include <quazipfile.h>
#include <quazipnewinfo.h>
#include <zlib.h>

namespace
{
bool add(QuaZip &zip, const QString &path, const std::atomic_bool &stop)
{
    QFile in(path);
    if (!VFunc::openRegular(&in)) {
        qWarning().noquote() << "VandrelCompress::add" << path << in.errorString();
        return false;
    }
    QuaZipFile out(&zip);
    const QuaZipNewInfo info(QFileInfo(path).fileName(), path);
    if (!out.open(QIODevice::WriteOnly, info, nullptr, 0, Z_DEFLATED, VandrelCompress::Level)) {
        qWarning().noquote() << "VandrelCompress::add" << path << "zip error" << out.getZipError();
        return false;
    }
    QByteArray block(VandrelCompress::Block, Qt::Uninitialized);
    for (;;) {
        if (stop.load(std::memory_order_relaxed))
            return false;
        const qint64 got = in.read(block.data(), block.size());
        if (got == 0)
            break;
        if (got < 0 || out.write(block.constData(), got) != got) {
            qWarning().noquote() << "VandrelCompress::add" << path
                                 << (got < 0 ? in.errorString()
                                             : QStringLiteral("zip error %1").arg(out.getZipError()));
            return false;
        }
    }
    out.close();
    if (out.getZipError() != UNZ_OK)
        qWarning().noquote() << "VandrelCompress::add" << path << "zip error" << out.getZipError();
    return out.getZipError() == UNZ_OK;
}
} // namespace

bool VandrelCompress::vandrelCompressOneFile(const QString &zipName, const QString &file, const std::atomic_bool &stop)
{
    return vandrelCompress(zipName, {file}, stop);
}

bool VandrelCompress::vandrelCompress(const QString &zipName, const QStringList &files, const std::atomic_bool &stop)
{
    QuaZip zip(zipName);
    zip.setUtf8Enabled(true);
    zip.setZip64Enabled(true);
    if (!zip.open(QuaZip::mdCreate)) {
        qWarning().noquote() << "VandrelCompress::vandrelCompress" << zipName << "zip error" << zip.getZipError();
        return false;
    }
    bool good = true;
    for (const QString &file : files)
        good = good && add(zip, file, stop);
    zip.close();
    if (good && zip.getZipError() != UNZ_OK) {
        qWarning().noquote() << "VandrelCompress::vandrelCompress" << zipName << "zip error" << zip.getZipError();
        good = false;
    }
    if (!good)
        QFile::remove(zipName);
    return good;
}

bool VandrelCompress::holds(const QString &zipName, const QString &file, qint64 size)
{
    QuaZip zip(zipName);
    if (!zip.open(QuaZip::mdUnzip))
        return false;
    QuaZipFileInfo64 info;
    return zip.getEntriesCount() == 1 && zip.goToFirstFile() && zip.getCurrentFileInfo(&info) &&
           info.name == QFileInfo(file).fileName() && qint64(info.uncompressedSize) == size;
}
