#include "common/ui/WebDownload.h"
#include "common/ui/Background.h"
#include "common/ui/MsgTool.h"
#include "common/VFunc.h"
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QWidget>

namespace
{
constexpr qint64 PieceSize = 256 * 1024;
constexpr int MostName = 120, MostTries = 1000;
} // namespace

// Used by one piece of disk work at a time.
struct WebDownload::Target {
    QFile file;
    QString folder, name;
    bool partial = false;
    ~Target()
    {
        if (partial)
            file.remove();
    }
    QString open()
    {
        if (!QDir().mkpath(folder))
            return folder;
        for (int i = 0; i < MostTries; ++i) {
            file.setFileName(QStringLiteral("%1/%2.%3.part").arg(folder, name).arg(i));
            partial = file.open(QIODevice::WriteOnly | QIODevice::NewOnly);
            if (partial)
                return {};
            if (!file.exists())
                break;
        }
        return file.errorString();
    }
    QString keep() // under a name that is free; the path, empty where it failed
    {
        if (!file.flush())
            return {};
        const QFileInfo wanted(folder + QLatin1Char('/') + name);
        const QString ending = wanted.suffix().isEmpty() ? QString() : QLatin1Char('.') + wanted.suffix();
        for (int i = 0; i < MostTries; ++i) {
            const QString path =
                i == 0
                    ? wanted.filePath()
                    : QStringLiteral("%1/%2 (%3)%4").arg(folder, wanted.completeBaseName(), QString::number(i), ending);
            if (QFileInfo::exists(path) || !file.rename(path))
                continue;
            partial = false;
            return path;
        }
        return {};
    }
};

QString WebDownload::fileName(const QByteArray &disposition, const QUrl &url)
{
    static const QRegularExpression plain(QStringLiteral("filename\\s*=\\s*(?:\"([^\"]*)\"|([^;\"]+))"),
                                          QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression coded(QStringLiteral("filename\\*\\s*=\\s*utf-8''([^;\\s]+)"),
                                          QRegularExpression::CaseInsensitiveOption);
    const QString text = QString::fromUtf8(disposition);
    QString name = QUrl::fromPercentEncoding(coded.match(text).captured(1).toUtf8());
    if (name.isEmpty()) {
        const QRegularExpressionMatch told = plain.match(text);
        name = told.captured(1) + told.captured(2);
    }
    if (name.trimmed().isEmpty())
        name = url.fileName();
    name = name.section(QRegularExpression(QStringLiteral("[/\\\\]")), -1);
    name.remove(QRegularExpression(QStringLiteral("[\\x00-\\x1f<>:\"|?*\\x{202a}-\\x{202e}]")));
    static const QRegularExpression outer(QStringLiteral("^[.\\s]+|[.\\s]+$"));
    name = name.remove(outer).right(MostName).remove(outer);
    static const QRegularExpression device(QStringLiteral("^(con|prn|aux|nul|com\\d|lpt\\d)(\\.|$)"),
                                           QRegularExpression::CaseInsensitiveOption);
    return name.isEmpty() || device.match(name).hasMatch() ? QLatin1String("download") + name : name;
}

void WebDownload::offer(QNetworkReply *reply, QWidget *over)
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    const QString host = reply->url().host();
    if (reply->error() != QNetworkReply::NoError || host.isEmpty()) {
        qWarning().noquote() << "WebDownload::offer" << reply->url().toString(QUrl::RemoveQuery)
                             << reply->errorString();
        reply->abort();
        reply->deleteLater();
        return;
    }
    auto *self = new WebDownload(reply, over);
    MsgBox *box = MsgTool::ask(over, tr("%1 要下载文件：%2\n保存到 %3？").arg(host, self->m_name, folder), [] {});
    box->setAcceptText(tr("下载"));
    connect(box, &MsgBox::answered, self, [self, folder](int button) {
        if (button == MsgBox::Accepted)
            return self->start(folder);
        self->m_reply->abort();
        self->m_reply->deleteLater();
    });
}

WebDownload::WebDownload(QNetworkReply *reply, QWidget *over) : QObject(reply), m_reply(reply), m_over(over)
{
    m_name = fileName(reply->rawHeader("Content-Disposition"), reply->url());
    reply->setReadBufferSize(PieceSize); // what the user hasn't agreed to isn't fetched
}

WebDownload::~WebDownload()
{
    if (m_target) // its last owner removes what isn't whole
        Background::post([target = std::move(m_target)] {});
}

void WebDownload::start(const QString &folder)
{
    m_target = std::make_shared<Target>();
    m_target->folder = folder;
    m_target->name = m_name;
    m_writing = true;
    connect(m_reply, &QNetworkReply::readyRead, this, &WebDownload::take);
    connect(m_reply, &QNetworkReply::finished, this, &WebDownload::take);
    Background::run(
        this, [target = m_target] { return target->open(); }, [this](const QString &error) { written(error); });
}

void WebDownload::written(const QString &error)
{
    m_writing = false;
    if (error.isEmpty())
        take();
    else
        fail(error);
}

void WebDownload::take()
{
    if (m_writing || !m_target)
        return;
    const QByteArray piece = m_reply->read(PieceSize);
    if (piece.isEmpty()) {
        if (m_reply->isFinished())
            finish();
        return;
    }
    m_writing = true;
    Background::run(
        this,
        [target = m_target, piece] {
            return target->file.write(piece) == piece.size() ? QString() : target->file.errorString();
        },
        [this](const QString &error) { written(error); });
}

void WebDownload::finish()
{
    if (m_reply->error() != QNetworkReply::NoError)
        return fail(m_reply->errorString());
    m_writing = true;
    Background::run(
        this, [target = m_target] { return target->keep(); },
        [this](const QString &path) {
            if (path.isEmpty())
                return fail(m_target->file.errorString());
            qDebug().noquote() << "WebDownload::finish" << path;
            if (m_over)
                MsgTool::toast(m_over->window(), tr("下载完成"), path);
            m_reply->deleteLater();
        });
}

void WebDownload::fail(const QString &why)
{
    qWarning().noquote() << "WebDownload::fail" << m_name << why;
    if (m_over)
        MsgTool::msgOk(m_over, tr("文件下载失败：%1\n%2").arg(m_name, why));
    m_reply->abort();
    m_reply->deleteLater();
}
