#include "view/SceneInfo.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/RecordModel.h"
#include <QCoreApplication>
#include <QFileInfo>
#include <QHash>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTreeWidget>

namespace
{
const QSize Wanted(608, 420);
QString plain(const QJsonValue &value)
{
    if (value.isArray()) {
        QStringList parts;
        const QJsonArray list = value.toArray();
        for (const QJsonValue &one : list)
            parts << one.toVariant().toString();
        return parts.join(QStringLiteral(", "));
    }
    return value.toVariant().toString();
}

// The parameters that every software has, in words; others keep their names.
QString wordOf(const QString &key)
{
    static const QHash<QString, const char *> words{{"cameras", QT_TRANSLATE_NOOP("SceneInfo", "相机")},
                                                    {"frames", QT_TRANSLATE_NOOP("SceneInfo", "帧")},
                                                    {"width", QT_TRANSLATE_NOOP("SceneInfo", "宽度")},
                                                    {"height", QT_TRANSLATE_NOOP("SceneInfo", "高度")},
                                                    {"renderer", QT_TRANSLATE_NOOP("SceneInfo", "渲染器")},
                                                    {"outputFile", QT_TRANSLATE_NOOP("SceneInfo", "输出文件")},
                                                    {"outputPath", QT_TRANSLATE_NOOP("SceneInfo", "输出路径")},
                                                    {"outputFormat", QT_TRANSLATE_NOOP("SceneInfo", "输出格式")},
                                                    {"vrMode", QT_TRANSLATE_NOOP("SceneInfo", "光子方式")},
                                                    {"giName", QT_TRANSLATE_NOOP("SceneInfo", "光子节点")},
                                                    {"giFile", QT_TRANSLATE_NOOP("SceneInfo", "光子文件")},
                                                    {"giWidth", QT_TRANSLATE_NOOP("SceneInfo", "光子宽度")},
                                                    {"giHeight", QT_TRANSLATE_NOOP("SceneInfo", "光子高度")},
                                                    {"giStep", QT_TRANSLATE_NOOP("SceneInfo", "光子隔帧")}};
    const auto word = words.constFind(key);
    return word == words.cend() ? key : QCoreApplication::translate("SceneInfo", *word);
}

// The number of a mode in words: Terragen's belongs to a node, the other is V-Ray's.
QString modeOf(const QJsonObject &obj)
{
    static const char *const node[] = {QT_TRANSLATE_NOOP("SceneInfo", "不使用光子"),
                                       QT_TRANSLATE_NOOP("SceneInfo", "本地光子"),
                                       QT_TRANSLATE_NOOP("SceneInfo", "先渲光子再渲图")};
    static const char *const vray[] = {"Single frame",
                                       "Multiframe incremental",
                                       "From file",
                                       "Add to current map",
                                       "Incremental add to current map",
                                       "Bucket mode",
                                       "Animation(prepass)",
                                       "Animation(rendering)"};
    const int mode = obj.value(QLatin1String("vrMode")).toInt(-1);
    if (obj.contains(QLatin1String("giName")))
        return mode >= 0 && mode < 3 ? QCoreApplication::translate("SceneInfo", node[mode]) : QString();
    return mode >= 0 && mode < 8 ? QLatin1String(vray[mode]) : QString();
}

bool isDeep(const QJsonValue &value)
{
    return value.isObject() || (value.isArray() && !value.toArray().isEmpty() && value.toArray().first().isObject());
}

void walk(const QJsonObject &obj, int depth, int limit, QList<SceneInfo::Line> *out)
{
    for (auto it = obj.begin(); it != obj.end() && out->size() < limit; ++it) {
        if (depth > 0 && it.key() == QLatin1String("name"))
            continue; // stands as the heading
        if (!isDeep(it.value())) {
            const QString mode = it.key() == QLatin1String("vrMode") ? modeOf(obj) : QString();
            out->append({wordOf(it.key()), mode.isEmpty() ? plain(it.value()) : mode, depth});
            continue;
        }
        if (it.value().isObject()) {
            out->append({wordOf(it.key()), QString(), depth});
            walk(it.value().toObject(), depth + 1, limit, out);
            continue;
        }
        const QJsonArray list = it.value().toArray();
        out->append({wordOf(it.key()), QString::number(list.size()), depth});
        for (int i = 0; i < list.size() && out->size() < limit; ++i) {
            const QJsonObject one = list.at(i).toObject();
            const QString name = one.value(QLatin1String("name")).toString();
            out->append({name.isEmpty() ? QString::number(i + 1) : name, QString(), depth + 1});
            walk(one, depth + 2, limit, out);
        }
    }
}
class RowHeight : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        return {QStyledItemDelegate::sizeHint(option, index).width(), Metrics::Control};
    }
};
} // namespace

QList<SceneInfo::Line> SceneInfo::lines(const QJsonObject &rdata, int limit)
{
    QList<Line> out;
    const QJsonValue model = rdata.value(QLatin1String("modelParameters"));
    if (model.isArray())
        walk({{tr("参数"), model}}, 0, limit, &out);
    else
        walk(model.toObject(), 0, limit, &out);
    return out;
}

SceneInfo::SceneInfo(const db_resolve &res, QWidget *parent)
    : DialogFrame(QStringLiteral("SceneInfo"), tr("场景参数"), parent)
{
    setHeading(QFileInfo(res.lpath).fileName(), res.lpath);
    setWanted(Wanted);
    auto *tree = new QTreeWidget(this);
    tree->setHeaderLabels({tr("参数"), tr("值")});
    tree->setAccessibleName(windowTitle());
    tree->header()->setDefaultSectionSize(220);
    tree->setEditTriggers(QAbstractItemView::NoEditTriggers);
    QList<QTreeWidgetItem *> chain;
    const QList<Line> all = lines(QJsonDocument::fromJson(res.rdata.toUtf8()).object());
    for (const Line &line : all) {
        while (chain.size() > line.depth)
            chain.removeLast();
        const QStringList texts{line.name, line.value};
        auto *item = chain.isEmpty() ? new QTreeWidgetItem(tree, texts) : new QTreeWidgetItem(chain.last(), texts);
        item->setToolTip(1, RecordModelBase::plainTip(line.value));
        chain << item;
    }
    tree->setItemDelegate(new RowHeight(tree));
    tree->expandAll();
    content()->addWidget(tree, 1);
    QPushButton *ok = addButton(tr("提交渲染"), Primary, [this, key = res.rkey] {
        emit commit(key);
        close();
    });
    addButton(tr("关闭"), Close);
    ok->setFocus();
}
