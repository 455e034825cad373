#include "view/PluginManager.h"
#include "common/facts/SoftwareType.h"
#include "common/ui/Background.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/MsgTool.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "io/local/PluginListen.h"
#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

namespace
{
constexpr int Looks = 50, LookMs = 100; // for what an elevated run lays down

RecordModel<PluginPlace> *makeModel(QObject *parent)
{
    using C = Column<PluginPlace>;
    const auto tint = [](const PluginPlace &p) {
        return p.state == PluginPlace::Installed ? Tint::Done
               : p.state == PluginPlace::Damaged ? Tint::Warning
                                                 : Tint::Quiet;
    };
    return new RecordModel<PluginPlace>(
        [](const PluginPlace &p) { return p.key(); },
        {C(QStringLiteral("program"), PluginManager::tr("软件"), 180).text([](const PluginPlace &p) {
             return p.program;
         }),
         C(QStringLiteral("state"), PluginManager::tr("状态"), 140).text(PluginManager::stateText).tint(tint),
         C(QStringLiteral("folder"), PluginManager::tr("位置"), 320)
             .text([](const PluginPlace &p) { return QDir::toNativeSeparators(p.folder); })
             .stretch(),
         C::acts(PluginManager::tr("操作"), 170)},
        parent);
}

// The plug-in asks at this port from now on; the client listens there at once.
void openPluginPort()
{
    if (UserInfo::setting(Settings::PluginPort).toInt() == 0)
        UserInfo::setSetting(Settings::PluginPort, PluginListen::DefaultPort);
    const int port = UserInfo::setting(Settings::PluginPort).toInt();
    Seam<PluginCalls>::post([port](PluginCalls &plugins) { plugins.listen(port); });
}

// Files of a software's own folder, by the client's one elevated job for them.
bool elevated(const PluginPlace &place)
{
    QJsonArray copies;
    for (const PluginPlace::File &file : place.files)
        if (!file.source.isEmpty())
            copies.append(QJsonObject{{"src", file.source}, {"dest", place.path(file)}});
    const QJsonObject order{{"soft", "max"}, {"copy", copies}};
    const QByteArray text = QJsonDocument(order).toJson(QJsonDocument::Compact);
    if (!VFunc::writeWhole(UserInfo::userDir() + QStringLiteral("/maxcopy"), text) ||
        VFunc::runAs(QCoreApplication::applicationFilePath(), QStringLiteral("maxcopy"), place.folder) <= 0)
        return false;
    for (int i = 0; i < Looks; ++i, QThread::msleep(LookMs))
        if (PluginPlaces::stateOf(place) == PluginPlace::Installed)
            return true;
    return false;
}
} // namespace

PluginManager::PluginManager(QWidget *parent) : BaseWidget(Page, parent), m_model(makeModel(this))
{
    setObjectName(QStringLiteral("PluginManager"));
    setAccessibleName(tr("插件管理"));
    TablePage::Look look;
    look.name = QStringLiteral("PluginManager");
    look.accessible = tr("插件管理");
    look.emptyIcon = QStringLiteral("plugin");
    look.emptyText = tr("没有找到可以安装插件的软件");
    look.emptyHint = tr("安装软件并启动一次后，点击刷新");
    m_table = new TablePage(look, m_model, this);
    makeActs();
    m_table->build();
    body()->addWidget(m_table, 1);
    connect(m_table, &TablePage::refreshWanted, this, &PluginManager::refresh);
    refresh();
}

QString PluginManager::stateText(const PluginPlace &place)
{
    switch (place.state) {
    case PluginPlace::Installed:
        return tr("已安装");
    case PluginPlace::Damaged:
        return tr("需要修复");
    case PluginPlace::Missing:
        break;
    }
    return place.writable ? tr("未安装") : tr("未安装（没有写入权限）");
}

void PluginManager::makeActs()
{
    const auto is = [this](std::function<bool(PluginPlace::State)> which) {
        return m_model->when([which](const PluginPlace &p) { return which(p.state); });
    };
    const auto on = [this](Deed deed) {
        return [this, deed](const QStringList &keys) { run(m_model->records(keys), deed); };
    };
    ActSpec install, repair, remove, folder;
    install.id = QStringLiteral("install");
    install.text = tr("安装");
    install.icon = QStringLiteral("download");
    install.primary = true;
    install.places = ActSpec::Bar | ActSpec::Row | ActSpec::Menu;
    install.possible = is([](PluginPlace::State state) { return state == PluginPlace::Missing; });
    install.run = on(&PluginManager::install);
    repair.id = QStringLiteral("repair");
    repair.text = tr("修复");
    repair.icon = QStringLiteral("retry");
    repair.places = ActSpec::Bar | ActSpec::Row | ActSpec::Menu;
    repair.possible = is([](PluginPlace::State state) { return state != PluginPlace::Missing; });
    repair.run = on(&PluginManager::install);
    remove.id = QStringLiteral("remove");
    remove.text = tr("卸载");
    remove.icon = QStringLiteral("trash");
    remove.places = ActSpec::Bar | ActSpec::Row | ActSpec::Menu;
    remove.keys = QKeySequence::Delete;
    remove.possible = repair.possible;
    remove.question = [](const QStringList &keys) {
        return tr("确定卸载选中的 %1 个插件吗？手动修改过的文件会另存保留。").arg(keys.size());
    };
    remove.run = on([](const PluginPlace &place) { return PluginPlaces::remove(place); });
    folder.id = QStringLiteral("folder");
    folder.text = tr("打开目录");
    folder.icon = QStringLiteral("folder");
    folder.single = true;
    folder.run = on([](const PluginPlace &place) {
        return VFunc::openFolder(place.folder) ? QString() : tr("文件夹打不开：%1").arg(place.folder);
    });
    for (const ActSpec &act : {install, repair, remove, folder})
        m_table->acts()->add(act);
}

void PluginManager::refresh()
{
    m_table->setBusy(true);
    Background::run(
        this, [] { return PluginPlaces::find(PluginPlaces::Machine::here()); },
        [this](const QList<PluginPlace> &places) {
            m_table->setBusy(false);
            m_model->setRows(places);
        });
}

void PluginManager::repairPlugin()
{
    QList<PluginPlace> damaged;
    for (const PluginPlace &place : m_model->records(m_model->keys()))
        if (place.state == PluginPlace::Damaged)
            damaged << place;
    run(damaged, &PluginManager::install);
}

QString PluginManager::install(const PluginPlace &place)
{
    PluginPlace fresh = place;
    if (place.softwareType == SoftwareType::SketchUp) {
        openPluginPort();
        for (PluginPlace::File &file : fresh.files)
            if (file.source.isEmpty())
                file.content = QByteArray::number(UserInfo::setting(Settings::PluginPort).toInt()) + '\n';
    }
    if (place.softwareType == SoftwareType::Max && !place.writable && elevated(place))
        return {};
    return PluginPlaces::install(fresh);
}

void PluginManager::run(const QList<PluginPlace> &places, Deed deed)
{
    if (places.isEmpty())
        return;
    m_table->setBusy(true);
    Background::run(
        this,
        [places, deed] {
            QStringList told;
            for (const PluginPlace &place : places)
                if (const QString why = deed(place); !why.isEmpty())
                    told << QStringLiteral("%1：%2").arg(place.program, why);
            return told;
        },
        [this](const QStringList &told) {
            if (!told.isEmpty())
                MsgTool::msgOk(this, told.mid(0, 3).join(QStringLiteral("\n\n")));
            refresh();
        });
}
