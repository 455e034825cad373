#pragma once
// Sends one day's log file, zipped, to the log service as a multipart form. Any thread with an event loop; one use per
// object, which deletes itself when told so by finished(). Body of the form, lines ended by CR LF:
//
//   --B / Content-Disposition: form-data;name="NAME" / (empty) / VALUE                                   per text field
//   --B / Content-Disposition: form-data;name="NAME";filename="FILE" / Content-Type: application/octet-stream
//       / (empty) / BYTES                                                                                the file
//   --B--
#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPair>
#include <QString>

class NetUp : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    using Fields = QList<QPair<QString, QString>>;

    // obj: name (required), date (yyyyMMdd, the day of the log; empty: today), other text fields as they are.
    // False: nothing was sent, and finished(false) won't come.
    bool upload(QJsonObject obj);

    static QByteArray formBody(const QByteArray &boundary, const Fields &fields, const QString &fileField,
                               const QString &fileName, const QByteArray &file);
    // Copies the file, the last 64 MiB of it, without secrets into a zip of that one file. False with a logged reason.
    static bool zipFile(const QString &source, const QString &zip);

signals:
    void finished(bool ok);
};
