#include "transfer/drive/DriveRest.h"
#include "transfer/drive/DriveListing.h"
#include <QCoreApplication>
#include <QDebug>
#include <QJsonDocument>
#include <QSet>
#include <QUrl>

namespace
{
constexpr int MaxId = 64; // characters
constexpr double Gib = 1024.0 * 1024.0 * 1024.0;

QString unreadable() { return QCoreApplication::translate("DriveRest", "云盘回复无法读取"); }

QString encoded(const QString &text) { return QString::fromLatin1(QUrl::toPercentEncoding(text)); }

double numberOf(const QJsonObject &object, const char *key)
{
    bool good = false;
    const double value = object.value(QLatin1String(key)).toVariant().toDouble(&good);
    return good && value >= 0 ? value : -1;
}

// The list wherever a service of this family puts it. False: there is none.
bool findList(const QJsonObject &object, QJsonArray *list)
{
    bool found = false;
    for (const char *key : {"files", "resultFiles", "list"}) {
        const QJsonValue value = object.value(QLatin1String(key));
        if (!value.isArray())
            continue;
        if (!found || list->isEmpty())
            *list = value.toArray();
        found = true;
    }
    return found;
}

bool readList(const QJsonObject &object, const QString &folder, DriveRest::Reply *reply)
{
    QJsonArray list;
    const QJsonValue data = object.value(QLatin1String("data"));
    bool found = findList(object, &list) || findList(data.toObject(), &list);
    if (!found && data.isArray()) {
        list = data.toArray();
        found = true;
    }
    QSet<QString> seen;
    seen.reserve(list.size());
    for (const QJsonValue &value : qAsConst(list)) {
        SubFile entry;
        const bool good = value.isObject() && DriveListing::entry(value.toObject(), &entry) &&
                          (folder.isEmpty() || (entry.id != folder && entry.id != QLatin1String(SubFile::Root))) &&
                          !seen.contains(entry.id);
        if (good) {
            seen.insert(entry.id);
            reply->entries.append(entry);
        } else {
            ++reply->unusable;
        }
    }
    return found;
}

bool readEntry(const QJsonObject &object, DriveRest::Reply *reply)
{
    for (const QJsonObject &place : {object.value(QLatin1String("data")).toObject(), object}) {
        reply->usedG = qMax(reply->usedG, numberOf(place, "usedSize"));
        reply->sizeG = qMax(reply->sizeG, numberOf(place, "size"));
        if (DriveListing::entry(place, &reply->entry))
            return true;
    }
    reply->entry = {};
    return reply->usedG >= 0 && reply->sizeG >= 0;
}
} // namespace

qint64 DriveRest::Reply::leftBytes() const
{
    return usedG < 0 || sizeG < 0 ? -1 : qint64(qMax(0.0, sizeG - usedG) * Gib);
}

QString DriveRest::tree(int fileType)
{
    return fileType == Result ? QStringLiteral("resultFiles") : QStringLiteral("files");
}

bool DriveRest::usableId(const QString &id)
{
    if (id.isEmpty() || id.size() > MaxId)
        return false;
    return std::all_of(id.begin(), id.end(), [](QChar c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' || c == '_';
    });
}

bool DriveRest::usableName(const QString &name)
{
    return !name.isEmpty() && name.size() <= MaxName && name != QLatin1String(".") && name != QLatin1String("..") &&
           !name.contains('/') && !name.contains(QChar(0));
}

QString DriveRest::lastId(const QString &chain) { return chain.mid(chain.lastIndexOf('/') + 1); }

QString DriveRest::dataPath(const QString &id, int fileType)
{
    return QStringLiteral("/files/%1/data?fileType=%2").arg(encoded(id)).arg(fileType);
}

bool DriveRest::read(Wanted wanted, const FuncBody &rep, const QString &folder, Reply *reply)
{
    if (wanted == Bytes) {
        reply->bytes = rep.raw;
        return true;
    }
    reply->code = rep.code;
    reply->text = rep.msg;
    if (rep.object.isEmpty() || rep.code == StaleToken) {
        if (reply->text.isEmpty())
            reply->text = rep.object.isEmpty() ? unreadable() : QString();
        return false;
    }
    const bool found = wanted == List       ? readList(rep.object, folder, reply)
                       : wanted == OneEntry ? readEntry(rep.object, reply)
                                            : true;
    const bool filled = wanted == List && !reply->entries.isEmpty() && (rep.code == 0 || rep.code == 200);
    const bool failed = rep.refuses() && !filled;
    if (found && !failed) {
        if (wanted == Done)
            readEntry(rep.object, reply); // what was made, where it's told
        return true;
    }
    if (reply->text.isEmpty())
        reply->text = failed ? QStringLiteral("code %1").arg(rep.code) : unreadable();
    return false;
}

DriveRest::DriveRest(NetWork::Verb verb, int farmId, const QString &path, Wanted wanted)
    : m_verb(verb), m_farm(farmId), m_path(path), m_wanted(wanted)
{
}

DriveRest DriveRest::entry(int farmId, int fileType, const QString &id)
{
    return {NetWork::Get, farmId, QStringLiteral("/%1/%2?fileType=%3").arg(tree(fileType), encoded(id)).arg(fileType),
            OneEntry};
}

DriveRest DriveRest::space(int farmId, int fileType) { return entry(farmId, fileType, QLatin1String(SubFile::Root)); }

DriveRest DriveRest::family(int farmId, int fileType, const QString &id)
{
    return {NetWork::Get, farmId,
            QStringLiteral("/%1/%2/family?fileType=%3").arg(tree(fileType), encoded(id)).arg(fileType), List};
}

DriveRest DriveRest::children(int farmId, int fileType, const QString &id)
{
    DriveRest question(NetWork::Get, farmId,
                       QStringLiteral("/%1/%2/sub-files?fileType=%3").arg(tree(fileType), encoded(id)).arg(fileType),
                       List);
    question.m_folder = id;
    return question;
}

DriveRest DriveRest::search(int farmId, int fileType, const QString &text, const QStringList &folderIds)
{
    return {NetWork::Get, farmId,
            QStringLiteral("/%1/alike-files?fileType=%2&searchName=%3&ids=%4")
                .arg(tree(fileType), QString::number(fileType), encoded(text), folderIds.join(',')),
            List};
}

DriveRest DriveRest::create(int farmId, int fileType, const QString &name, const QString &diskName,
                            const QString &parentId)
{
    DriveRest question(NetWork::Post, farmId, QStringLiteral("/files"), Done);
    question.m_request.byte =
        QJsonDocument(QJsonObject{{"fileType", fileType}, {"name", name}, {"diskName", diskName}, {"parent", parentId}})
            .toJson(QJsonDocument::Compact);
    return question;
}

DriveRest DriveRest::rename(int farmId, int fileType, const QString &id, const QString &name, const QString &diskName)
{
    DriveRest question(NetWork::Put, farmId, QStringLiteral("/files/rename-files"), Done);
    question.m_request.byte =
        QJsonDocument(QJsonObject{{"fileType", fileType}, {"name", name}, {"diskName", diskName}, {"id", id}})
            .toJson(QJsonDocument::Compact);
    return question;
}

DriveRest DriveRest::move(int farmId, int fileType, const QStringList &ids, const QString &targetId)
{
    return {NetWork::Put, farmId,
            QStringLiteral("/files/move-files?fileType=%1&targetParent=%2&ids=%3")
                .arg(QString::number(fileType), encoded(targetId), ids.join(',')),
            Done};
}

DriveRest DriveRest::remove(int farmId, int fileType, const QStringList &ids)
{
    return {NetWork::Delete, farmId, QStringLiteral("/files?fileType=%1&ids=%2").arg(fileType).arg(ids.join(',')),
            Done};
}

DriveRest DriveRest::content(int farmId, int fileType, const QString &id, qint64 from, qint64 to)
{
    DriveRest question(NetWork::Get, farmId, dataPath(id, fileType), Bytes);
    question.m_request.headers.append({"Range", "bytes=" + QByteArray::number(from) + '-' + QByteArray::number(to)});
    question.m_request.secret = true; // not a text
    return question;
}

DriveRest &DriveRest::within(int ms)
{
    m_ms = ms;
    return *this;
}

DriveRest &DriveRest::answered(Answer end)
{
    m_answered = std::move(end);
    return *this;
}

DriveRest &DriveRest::refused(Answer end)
{
    m_refused = std::move(end);
    return *this;
}

DriveRest &DriveRest::lost(Lost end)
{
    m_lost = std::move(end);
    return *this;
}

DriveRest &DriveRest::failed(const std::function<void(const QString &)> &end)
{
    return refused([end](const Reply &reply) { end(reply.text); }).lost(end);
}

DriveRest &DriveRest::pieces(Piece piece)
{
    m_piece = std::move(piece);
    return *this;
}

void DriveRest::send(QObject *guard) { ask(*this, guard, true); }

void DriveRest::ask(const DriveRest &question, QObject *guard, bool again)
{
    NetWork::skydriveUrl(question.m_farm, guard, [question, guard, again](const QString &url) {
        if (url.isEmpty()) {
            if (question.m_lost)
                question.m_lost(
                    QCoreApplication::translate("DriveRest", "无法获取农场 %1 的地址").arg(question.m_farm));
            return;
        }
        Request request = question.m_request;
        request.url = url + question.m_path;
        const auto listing = question.m_piece ? std::make_shared<DriveListing>(question.m_folder) : nullptr;
        if (listing)
            request.arrived = [listing, piece = question.m_piece](const QByteArray &bytes) {
                listing->add(bytes);
                const QVector<SubFile> fresh = listing->take();
                return fresh.isEmpty() || piece(fresh);
            };
        WebAsk ask = question.m_verb == NetWork::Get    ? WebAsk::get(request)
                     : question.m_verb == NetWork::Post ? WebAsk::post(request)
                     : question.m_verb == NetWork::Put  ? WebAsk::put(request)
                                                        : WebAsk::del(request);
        const auto end = [question, guard, again, listing](const FuncBody &rep) {
            question.end(rep, guard, again, listing.get());
        };
        ask.within(question.m_ms)
            .answered(end)
            .refused(end)
            .lost([lost = question.m_lost](const QString &why) {
                if (lost)
                    lost(why);
            })
            .send(guard);
    });
}

void DriveRest::end(const FuncBody &rep, QObject *guard, bool again, const DriveListing *listing) const
{
    const FuncBody body = rep.ok() && !listing ? rep : FuncBody::fromBytes(rep.ok() ? listing->rest() : rep.raw);
    Reply reply;
    const bool good = rep.ok() && read(m_wanted, body, m_folder, &reply);
    const bool stale = body.code == StaleToken || rep.httpStatus == 401 || (rep.httpStatus == StaleToken && !good);
    if (stale && again) {
        NetWork::instance()->clearFarm(m_farm);
        return ask(*this, guard, false);
    }
    if (good) {
        reply.unusable += listing ? listing->unusable() : 0;
        if (m_answered)
            m_answered(reply);
        return;
    }
    reply.code = rep.ok() || body.code != 0 ? body.code : rep.httpStatus;
    if (reply.text.isEmpty())
        reply.text = body.msg.isEmpty() ? rep.error : body.msg;
    qWarning().noquote() << "DriveRest::end" << m_path << reply.code << reply.text;
    if (m_refused)
        m_refused(reply);
}
