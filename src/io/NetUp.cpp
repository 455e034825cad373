#include "io/NetUp.h"
#include "common/Redact.h"
#include "common/Session.h"
#include "common/UserInfo.h"
#include "io/WebAsk.h"
#include <QDateTime>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <quazip/quazip.h>
#include <quazip/quazipfile.h>
#include <QUuid>

namespace
{
constexpr int UploadMs = 300000;
constexpr qint64 MostBytes = 64 * 1024 * 1024, LongestLine = 1 << 20;
} // namespace

QByteArray NetUp::formBody(const QByteArray &boundary, const Fields &fields, const QString &fileField,
                           const QString &fileName, const QByteArray &file)
{
    QByteArray body;
    for (const auto &field : fields) {
        body += "--" + boundary + "\r\n";
        body += "Content-Disposition: form-data;name=\"" + field.first.toUtf8() + "\"\r\n\r\n";
        body += field.second.toUtf8() + "\r\n";
    }
    body += "--" + boundary + "\r\n";
    body +=
        "Content-Disposition: form-data;name=\"" + fileField.toUtf8() + "\";filename=\"" + fileName.toUtf8() + "\"\r\n";
    body += "Content-Type: application/octet-stream\r\n\r\n";
    body += file + "\r\n";
    body += "--" + boundary + "--\r\n";
    return body;
}

bool NetUp::zipFile(const QString &source, const QString &zip)
{
    QFile in(source);
    if (!in.open(QIODevice::ReadOnly)) {
        qWarning().noquote() << "NetUp::zipFile" << source << in.errorString();
        return false;
    }
    QuaZip archive(zip);
    if (!archive.open(QuaZip::mdCreate)) {
        qWarning().noquote() << "NetUp::zipFile" << zip << archive.getZipError();
        return false;
    }
    bool ok = false;
    {
        QuaZipFile out(&archive);
        ok = out.open(QIODevice::WriteOnly, QuaZipNewInfo(QFileInfo(source).fileName(), source));
        if (in.size() > MostBytes)
            in.seek(in.size() - MostBytes); // its end tells what happened last
        while (ok && !in.atEnd()) {
            const QByteArray line = in.readLine(LongestLine);
            const QByteArray clean = redacted(QString::fromUtf8(line)).toUtf8();
            ok = !line.isEmpty() && out.write(clean) == clean.size();
        }
        out.close();
        ok = ok && out.getZipError() == 0;
    }
    archive.close();
    return ok && archive.getZipError() == 0;
}

bool NetUp::upload(QJsonObject obj)
{
    if (obj.value("name").toString().isEmpty()) {
        qDebug().noquote() << "NetUp::upload name isEmpty";
        return false;
    }
    if (obj.value("date").toString().isEmpty())
        obj["date"] = QDateTime::currentDateTime().toString("yyyyMMdd");
    const QString date = obj.value("date").toString();
    const QString zipName =
        QStringLiteral("log-%1-%2.zip").arg(date, QDateTime::currentDateTime().toString("MMddHHmmsszzz"));
    const QString zip = UserInfo::tempDir() + "/" + zipName;
    QFile packed(zip);
    if (!zipFile(UserInfo::allUserDir() + QStringLiteral("/log-%1.txt").arg(date), zip) ||
        !packed.open(QIODevice::ReadOnly)) {
        QFile::remove(zip);
        return false;
    }
    Fields fields;
    for (auto it = obj.constBegin(); it != obj.constEnd(); ++it)
        fields.append({it.key(), it.value().toVariant().toString()});
    const QByteArray boundary = "----" + QUuid::createUuid().toByteArray(QUuid::Id128);
    Request req;
    req.url = Session::address("logs");
    req.byte = formBody(boundary, fields, "part", zipName, packed.readAll());
    req.contentType = "multipart/form-data;boundary=" + boundary;
    packed.close();
    QFile::remove(zip);
    WebAsk::post(req)
        .within(UploadMs)
        .answered([this](const FuncBody &) {
            qDebug().noquote() << QStringLiteral("上传日志完成");
            emit finished(true);
        })
        .failed([this] {
            qWarning().noquote() << "NetUp::upload: the log didn't arrive";
            emit finished(false);
        })
        .send(this);
    return true;
}
