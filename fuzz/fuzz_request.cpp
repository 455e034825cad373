// Whatever arrives at the local port and wherever it is cut: the request reader comes to the same end, keeps its
// ceilings, and what it made can be judged and taken apart.
#include "io/local/CmdLine.h"
#include "io/local/HttpGuard.h"
#include "io/local/HttpRequest.h"
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    if (size < 1)
        return 0;
    const int piece = data[0] + 1;
    const QByteArray bytes(reinterpret_cast<const char *>(data) + 1, int(size) - 1);
    HttpRequest whole, pieces;
    whole.feed(bytes);
    for (int at = 0; at < bytes.size(); at += piece)
        pieces.feed(bytes.mid(at, piece));
    if (whole.state() != pieces.state() || whole.body() != pieces.body() || whole.target() != pieces.target())
        std::abort();
    const QString target = QString::fromUtf8(whole.target());
    HttpGuard::allows(whole, QHostAddress::LocalHost, QHostAddress::LocalHost, QStringLiteral("token"));
    bool tooLong = false;
    if (CmdLine::fromTarget(target, whole.body()).numbers("mid", "mids", &tooLong).size() > CmdLine::MaxList)
        std::abort();
    CmdLine::fromWords(QString::fromUtf8(bytes)).list("num", "nums");
    return 0;
}
