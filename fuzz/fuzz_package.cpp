// Whatever the stream and wherever it is cut: the reader gives only packages that its own head parser takes, and the
// same ones as when it gets all at once, as long as no head is wrong.
#include "io/Package.h"
#include <cstdlib>
#include <QList>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    static const bool quiet = (qputenv("QT_LOGGING_RULES", "*=false"), true);
    if (!quiet || size < 1)
        return 0;
    const int piece = data[0] + 1;
    const QByteArray stream(reinterpret_cast<const char *>(data) + 1, int(size) - 1);
    QList<QByteArray> once, cut;
    PackageReader whole, pieces;
    whole.feed(stream, [&](const QByteArray &package) { once.append(package); });
    for (int at = 0; at < stream.size(); at += piece)
        pieces.feed(stream.mid(at, piece), [&](const QByteArray &package) { cut.append(package); });
    RecvPackageHead head;
    for (const QByteArray &package : once)
        if (!RecvPackageHead::parse(package, &head) || head.length + 8 != package.size())
            std::abort();
    if (whole.badHeads() == 0 && once != cut)
        std::abort();
    return 0;
}
