#include "view/SceneInfo.h"
#include <QCoreApplication>
#include <QFileInfo>
#include <QHash>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTreeWidget>

namespace
{
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
                                                    {"vrMode", QT_TRANSLATE_NOOP("SceneInfo", "GI 模式")},
                                                    {"giName", QT_TRANSLATE_NOOP("SceneInfo", "GI 设置")}};
    const auto word = words.constFind(key);
    return word == words.cend() ? key : QCoreApplication::translate("SceneInfo", *word);
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
            out->append({wordOf(it.key()), plain(it.value()), depth});
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
        return {QStyledItemDelegate::sizeHint(option, index).width(), 28};
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

SceneInfo::SceneInfo(const db_resolve &res, QWidget *parent) : BaseWidget(Dialog, parent)
{
    setObjectName(QStringLiteral("SceneInfo"));
    setAttribute(Qt::WA_DeleteOnClose);
    setTitle(tr("场景参数"));
    auto *column = new QVBoxLayout;
    column->setContentsMargins(24, 16, 24, 16);
    column->setSpacing(8);
    auto *name = new QLabel(QFileInfo(res.lpath).fileName(), this);
    name->setObjectName(QStringLiteral("heading"));
    name->setToolTip(res.lpath);
    column->addWidget(name);
    auto *tree = new QTreeWidget(this);
    tree->setHeaderLabels({tr("参数"), tr("值")});
    tree->setMinimumSize(560, 360);
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
        item->setToolTip(1, line.value);
        chain << item;
    }
    tree->setItemDelegate(new RowHeight(tree));
    tree->expandAll();
    column->addWidget(tree, 1);
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addStretch(1);
    auto *ok = new QPushButton(tr("提交渲染"), this);
    ok->setProperty("primary", true);
    connect(ok, &QPushButton::clicked, this, [this, key = res.rkey] {
        emit commit(key);
        close();
    });
    auto *cancel = new QPushButton(tr("关闭"), this);
    connect(cancel, &QPushButton::clicked, this, &SceneInfo::close);
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
    column->addLayout(buttons);
    body()->addLayout(column);
    ok->setFocus();
}
