#include "resolve/PreflightFiles.h"
#include "common/CommonConfig.h"
#include "common/facts/SoftwareType.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "db/ResolveDAO.h"
#include "resolve/OrderMessage.h"
#include <algorithm>
#include <QDateTime>
#include <QDebug>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSet>

namespace
{
constexpr int Tries = 3;
const QString Files = QStringLiteral("files"), Maps = QStringLiteral("pathMap");

bool measure(const QString &path, PreflightFiles::File *file)
{
    const QFileInfo info(VFunc::followLinks(path));
    if (!info.isFile())
        return false;
    file->path = path;
    file->size = info.size();
    file->modified = info.lastModified().toMSecsSinceEpoch();
    return true;
}

QString folderOfResults(const db_resolve &row, const QJsonObject &rset)
{
    const int maya = SoftwareType::Maya;
    const int kind =
        SoftwareType::ofRow(rset, row.lpath) == maya ? CommonConfig::get().mayaResultRootPathEnum : UserInfo::outRoot();
    const QString project =
        rset.value(QLatin1String("projectConfig")).toObject().value(QLatin1String("outputPath")).toString();
    return kind == 1 ? project : kind == 2 ? QFileInfo(row.lpath).path() : UserInfo::resultDir();
}

// The farm hears which folder stands for which, since the scene itself still names the old one.
QString withMap(const QString &rdata, const FolderMap &map)
{
    QJsonObject all = OrderMessage::object(rdata);
    QJsonArray maps = all.value(Maps).toArray();
    const QJsonObject one{{QStringLiteral("from"), map.from}, {QStringLiteral("to"), map.to}};
    if (!maps.contains(one))
        maps.append(one);
    all[Maps] = maps;
    return QString::fromUtf8(QJsonDocument(all).toJson(QJsonDocument::Compact));
}

// The row names the files where they are now. False: it was committed meanwhile, or can't be written.
bool rename(qlonglong rkey, const QHash<QString, QString> &moved, const FolderMap &map)
{
    for (int i = 0; i < Tries; ++i) {
        const db_resolve row = ResolveDAO::instance()->readWithPara(rkey);
        bool good = false;
        QJsonObject fragment = OrderMessage::object(QLatin1Char('{') + row.rfile + QLatin1Char('}'), &good);
        if (row.rkey == 0 || !good)
            return false;
        QJsonArray files;
        for (const QJsonValue &one : fragment.value(Files).toArray()) {
            const auto to = moved.constFind(OrderMessage::filePath(one.toString()));
            files.append(to == moved.cend() ? one : QJsonValue(*to));
        }
        fragment[Files] = files;
        const QByteArray text = QJsonDocument(fragment).toJson(QJsonDocument::Compact);
        db_resolve after = row;
        after.rfile = QString::fromUtf8(text.mid(1, text.size() - 2));
        after.rdata = withMap(row.rdata, map);
        const int written = ResolveDAO::instance()->replaceFiles(row, after);
        if (written > 0)
            return true;
        if (written < 0)
            break;
    }
    qWarning().noquote() << "PreflightFiles::rename" << rkey << "keeps its list of files";
    return false;
}
} // namespace

PreflightFiles PreflightFiles::look(const QList<qlonglong> &rkeys, const StopToken &stop, const Tell &tell)
{
    PreflightFiles all;
    OrderMessage::Options options;
    options.noFiles = UserInfo::hasArgument(QStringLiteral("nofile"));
    options.pathCase = [](const QString &path) { return UserInfo::pathCase(path); };
    QSet<QString> seen;
    int looked = 0;
    for (qlonglong rkey : rkeys) {
        const db_resolve row = ResolveDAO::instance()->readWithPara(rkey);
        const OrderMessage order = row.rkey != 0 ? OrderMessage::build(row, options) : OrderMessage();
        if (!order.valid) {
            ++all.gone;
            continue;
        }
        const int farm = order.body.value(QLatin1String("farmId")).toVariant().toInt();
        if (all.scenes++ == 0)
            all.resultFolder = folderOfResults(row, OrderMessage::object(row.rset));
        for (const OrderMessage::File &one : order.files) {
            if (stop.stopped())
                return all;
            if (looked >= Most) {
                all.cut = true;
                break;
            }
            if (++looked % TellEach == 0)
                tell(looked);
            File file;
            file.farm = farm;
            if (!measure(OrderMessage::uploadPath(one.path), &file))
                all.missing << Missing{rkey, farm, one.path, one.path == OrderMessage::filePath(row.lpath)};
            else if (rkeys.size() == 1 || !seen.contains(file.path))
                all.files << file;
            if (rkeys.size() > 1)
                seen << file.path;
        }
    }
    for (const FolderMap &map : all.missing.isEmpty() ? QList<FolderMap>() : FolderMaps::all()) {
        const QHash<QString, File> found = find(all.missing, map, stop);
        all.take(found);
    }
    std::sort(all.files.begin(), all.files.end(), [](const File &a, const File &b) { return a.size > b.size; });
    all.count();
    if (!all.resultFolder.isEmpty())
        all.freeBytes = VFunc::freeSpace(all.resultFolder);
    return all;
}

QHash<QString, PreflightFiles::File> PreflightFiles::find(const QVector<Missing> &missing, const FolderMap &map,
                                                          const StopToken &stop)
{
    QHash<QString, File> found;
    QHash<qlonglong, QHash<QString, QString>> moved; // row -> path as named -> where it is
    for (const Missing &one : missing) {
        if (stop.stopped())
            return {};
        File file;
        file.farm = one.farm;
        const QString to = one.scene ? QString() : map.moved(one.path);
        if (to.isEmpty() || !(found.contains(one.path) || measure(to, &file)))
            continue;
        if (!found.contains(one.path))
            found.insert(one.path, file);
        moved[one.rkey].insert(one.path, to);
    }
    for (auto row = moved.cbegin(); row != moved.cend(); ++row)
        if (!rename(row.key(), row.value(), map))
            for (auto one = row->cbegin(); one != row->cend(); ++one)
                found.remove(one.key());
    return found;
}

void PreflightFiles::take(const QHash<QString, File> &files)
{
    if (files.isEmpty())
        return;
    QVector<Missing> left;
    for (const Missing &one : qAsConst(missing))
        if (!files.contains(one.path))
            left << one;
    missing = left;
    for (const File &file : files)
        this->files << file;
    found += files.size();
}

void PreflightFiles::count()
{
    QSet<QString> names; // of files with content
    bytes = copyBytes = copies = 0;
    for (const File &file : qAsConst(files)) {
        bytes += file.size;
        const QString same = QStringLiteral("%1/%2/%3")
                                 .arg(file.size)
                                 .arg(file.modified)
                                 .arg(file.path.mid(file.path.lastIndexOf(QLatin1Char('/')) + 1));
        if (file.size > 0 && names.contains(same)) {
            ++copies;
            copyBytes += file.size;
        }
        names << same;
    }
}
