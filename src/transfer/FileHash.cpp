// MD5 of files. Unbuffered, so that no byte is copied between the read and the digest.
#include "common/VFunc.h"
#include "transfer/Md5.h"
#include "transfer/TransSet.h"
#include <QDebug>

QString TransSet::fileMD5(QFile *file, const std::atomic_bool &stop)
{
    if ((!file->isOpen() && !VFunc::openRegular(file)) || !file->seek(0)) {
        qWarning().noquote() << "TransSet::fileMD5 hasherr" << file->fileName() << file->errorString();
        return {};
    }
    Md5 digest;
    QByteArray block(HashBlock, Qt::Uninitialized);
    for (;;) {
        if (stop.load(std::memory_order_relaxed))
            return {};
        const qint64 got = file->read(block.data(), block.size());
        if (got < 0) {
            qWarning().noquote() << "TransSet::fileMD5 hasherr" << file->fileName() << file->errorString();
            return {};
        }
        if (got == 0)
            return digest.hex();
        digest.add(block.constData(), got);
    }
}

QString TransSet::fileHash(const QString &path, const std::atomic_bool &stop)
{
    QFile file(path);
    return fileMD5(&file, stop);
}
