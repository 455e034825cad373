#include "task/SubPicture.h"
#include "common/facts/Command.h"
#include "common/facts/SoftwareType.h"
#include "common/ResultPath.h"
#include "common/ThreadPool.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "io/Ask.h"
#include "io/NetDown.h"
#include "io/NetTcp.h"
#include "task/Cell.h"
#include "task/SubTask.h"
#include <atomic>
#include <memory>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QTimer>
#include <QUrl>

namespace
{
std::atomic_int made{0}; // no two fetches share a file
std::atomic_int open{0}; // that wait for a picture in an answer
constexpr int AnswerMs = 500;

QString endingOf(const QByteArray &picture)
{
    if (picture.startsWith("\x89PNG"))
        return QStringLiteral("png");
    if (picture.startsWith("\x76\x2f\x31\x01"))
        return QStringLiteral("exr");
    if (picture.startsWith("II*") || picture.startsWith("MM"))
        return QStringLiteral("tif");
    return QStringLiteral("jpg");
}
} // namespace

SubPicture::Mode SubPicture::modeOf(int software, int pictures)
{
    return pictures > 0 ? Index : software == SoftwareType::Max ? Link : Stream;
}

SubPicture::SubPicture(const Of &of) : m_of(of) {}

void SubPicture::start()
{
    ThreadPool::instance()->addWork(this);
    QMetaObject::invokeMethod(
        this,
        [this] {
            emit progress(-1, -1);
            QTimer::singleShot(LimitMs, this, [this] { end({}, tr("暂时无截图预览，请稍后再试！")); });
            if (m_of.mode == Stream)
                hearStreams();
            ask();
        },
        Qt::QueuedConnection);
}

// A server may send the picture by itself in place of an answer. Nothing in it tells whose it is: it's taken only while
// nobody else waits for one, and unless it turns out to be the answer.
void SubPicture::hearStreams()
{
    ++open;
    connect(this, &QObject::destroyed, [] { --open; });
    NetTcp *tcp = NetTcp::instance();
    if (!tcp)
        return;
    connect(tcp, &NetTcp::bsStream, this, [this](int cmd, int val, const QByteArray &data) {
        if (cmd != Command::Preview || val != Command::success(cmd) || data.isEmpty() || open != 1)
            return;
        QTimer::singleShot(AnswerMs, this, [this, val, data] {
            if (m_asked)
                take(val, QJsonDocument::fromJson(data).object(), data);
        });
    });
}

QString SubPicture::name() const
{
    return ResultPath::safeName(QStringLiteral("%1_%2_%3").arg(m_of.task, m_of.sub).arg(m_of.index));
}

void SubPicture::ask()
{
    const bool byIndex = m_of.mode == Index;
    const auto body = std::make_shared<QByteArray>();
    m_asked = true;
    Ask(byIndex ? Command::Thumbnails : Command::Preview,
        byIndex ? SubAsk::picture(m_of.task, m_of.sub, m_of.index) : SubAsk::preview(m_of.task, m_of.sub, m_of.version))
        .within(LimitMs)
        .bytes([body](const QByteArray &all) { *body = all; })
        .any([this, body](int val, const QJsonDocument &doc) { take(val, doc.object(), *body); })
        .lost([this](Ask::Loss) { end({}, tr("服务器没有响应，请检查网络后重试")); })
        .send(this);
}

void SubPicture::take(int val, const QJsonObject &answer, const QByteArray &body)
{
    if (m_over)
        return;
    m_asked = false;
    qDebug().noquote() << "SubPicture::take" << QStringLiteral("%1预览json%2").arg(name()).arg(val) << body.size();
    if (!Command::good(m_of.mode == Index ? Command::Thumbnails : Command::Preview, val)) {
        const QString text = SubTask::codeText(val);
        const QString why = tr("预览失败:%1").arg(text.isEmpty() ? QString::number(val) : text);
        return m_of.mode == Link ? again(tr("暂时无截图预览，请稍后再试！")) : end({}, why);
    }
    const QString url = Cell::text(answer, "url");
    if (!url.isEmpty())
        return fetchLink(url);
    for (const char *key : {"data", "image", "picture"})
        if (const QString text = answer.value(QLatin1String(key)).toString(); !text.isEmpty())
            return keep(QByteArray::fromBase64(text.section(QLatin1String("base64,"), -1).toLatin1()));
    if (!answer.isEmpty() || body.isEmpty())
        return again(tr("暂时无截图预览，请稍后再试！"));
    keep(body);
}

void SubPicture::fetchLink(const QString &url)
{
    const QUrl link(url);
    if (!link.isValid() || (link.scheme() != QLatin1String("http") && link.scheme() != QLatin1String("https")))
        return end({}, tr("图片无法预览"));
    const QString file = QStringLiteral("%1/%2_%3.jpg").arg(UserInfo::tempDir(), name()).arg(++made);
    auto *down = new NetDown(url, file, this);
    connect(down, &NetDown::progress, this, [this, down](qint64 got, qint64 all) {
        qDebug().noquote() << "SubPicture::fetchLink"
                           << QStringLiteral("%1预览进度%2/%3").arg(name()).arg(got).arg(all);
        if (got <= MostBytes && all <= MostBytes)
            return void(emit progress(got, all));
        down->disconnect(this);
        down->deleteLater();
        end({}, tr("文件太大"));
    });
    connect(down, &NetDown::netDownFinish, this, [this, down, file] {
        down->deleteLater();
        if (down->ok() && QFileInfo(file).size() > 0)
            return end(file, {});
        qWarning().noquote() << "SubPicture::fetchLink" << QStringLiteral("%1预览失败%2").arg(name(), file);
        QFile::remove(file);
        again(tr("暂时无截图预览，请稍后再试！"));
    });
    if (!down->start()) {
        down->deleteLater();
        end({}, tr("文件无法写入：%1").arg(file));
    }
}

void SubPicture::keep(const QByteArray &picture)
{
    const QString file =
        QStringLiteral("%1/%2_%3.%4").arg(UserInfo::tempDir(), name()).arg(++made).arg(endingOf(picture));
    QDir().mkpath(UserInfo::tempDir());
    const bool kept = !picture.isEmpty() && VFunc::writeWhole(file, picture);
    end(kept ? file : QString(), kept ? QString() : tr("图片无法预览"));
}

void SubPicture::again(const QString &why)
{
    if (m_over)
        return;
    if (m_of.mode != Link)
        return end({}, why);
    emit waiting(why);
    QTimer::singleShot(AgainMs, this, [this] {
        if (!m_over)
            ask();
    });
}

void SubPicture::end(const QString &file, const QString &why)
{
    if (std::exchange(m_over, true))
        return;
    if (file.isEmpty())
        emit failed(why);
    else
        emit arrived(file);
    deleteLater();
}
