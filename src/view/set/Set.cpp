#include "view/set/Set.h"
#include "common/facts/Command.h"
#include "common/ResultRoots.h"
#include "common/ui/Background.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/kit/ServerCall.h"
#include "common/UserInfo.h"
#include "view/set/AutoStart.h"
#include "view/set/CommonAdvanced.h"
#include "view/set/CommonSet.h"
#include "view/set/ProjectSet.h"
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>

namespace
{
const QString Start = QStringLiteral("autoStart"), Folder = QStringLiteral("ResultDir");
constexpr int PageWidth = 700, PageHeight = 330; // with head, tabs and buttons it fits the least screen

// The folder that is set from the start is made; another one must be there.
bool isFolder(const QString &dir)
{
    return QDir::isAbsolutePath(dir) &&
           (QFileInfo(dir).isDir() || (dir.endsWith(QLatin1String("/ResultQN")) && QDir().mkpath(dir)));
}
} // namespace

Set::Set(QWidget *parent)
    : DialogFrame(QStringLiteral("Set"), tr("设置"), parent), m_common(new CommonSet(this)),
      m_advanced(new CommonAdvanced(this)), m_stack(new QStackedWidget(this)), m_tabs(new QHBoxLayout)
{
    m_tabs->setSpacing(0);
    m_tabs->setContentsMargins(Metrics::Margin, 0, Metrics::Margin, 0);
    m_stack->setMinimumSize(PageWidth, PageHeight);
    addPage(tr("通用设置"), m_common, true);
    addPage(tr("高级设置"), m_advanced, true);
    addPage(tr("项目管理"), new ProjectSet(this), false);
    m_tabs->addStretch(1);
    content()->setContentsMargins(0, 0, 0, 0);
    content()->addLayout(m_tabs);
    content()->addWidget(m_stack, 1);
    setWanted(QSize(PageWidth, 560));
    m_save = addButton(tr("保存"), Primary, [this] { on_submit_clicked(); });
    addButton(tr("关闭"), Close);
    for (SetPage *page : {static_cast<SetPage *>(m_common), static_cast<SetPage *>(m_advanced)}) {
        page->load();
        connect(page, &SetPage::changed, this, [this] { setError({}); });
    }
    m_common->formOf(Start)->editor(Start)->setEnabled(false); // until it's known
    Background::run(
        this, [] { return AutoStart::on(); },
        [this](bool on) {
            m_startWas = on;
            m_startKnown = true;
            m_common->setValue(Start, on);
            m_common->formOf(Start)->editor(Start)->setEnabled(true);
        });
    showPage(Common);
}

void Set::addPage(const QString &title, QWidget *page, bool scrolls)
{
    auto *tab = new QPushButton(title, this);
    tab->setObjectName(QStringLiteral("tab"));
    tab->setCheckable(true);
    connect(tab, &QPushButton::clicked, this, [this, at = m_buttons.size()] { showPage(at); });
    m_tabs->addWidget(tab);
    m_buttons << tab;
    if (scrolls) {
        auto *area = new QScrollArea(m_stack);
        area->setWidget(page);
        area->setWidgetResizable(true);
        area->setFrameShape(QFrame::NoFrame);
        area->setFocusPolicy(Qt::NoFocus);
        page = area;
    }
    m_stack->addWidget(page);
}

void Set::showPage(int page)
{
    for (int i = 0; i < m_buttons.size(); ++i)
        m_buttons.at(i)->setChecked(i == page);
    m_stack->setCurrentIndex(page);
    if (isVisible() || page != Common) // else the first field has it
        m_buttons.at(page)->setFocus();
    m_save->setVisible(page != Projects);
}

void Set::on_submit_clicked()
{
    if (busy())
        return;
    setError({});
    for (int page : {int(Common), int(Advanced)}) {
        SetPage *one = page == Common ? static_cast<SetPage *>(m_common) : m_advanced;
        if (one->check())
            continue;
        showPage(page);
        one->check(); // the bad field takes the focus now that it's seen
        return;
    }
    keep();
}

// Disk, registry and the elevated helper, away from the window. A folder that isn't there keeps all as it was.
void Set::keep()
{
    setBusy(true);
    SetPage::Changes changes = m_common->changes() + m_advanced->changes();
    const bool start = m_common->value(Start).toBool();
    const bool turn = m_startKnown && start != m_startWas;
    QString folder;
    for (int i = changes.size() - 1; i >= 0; --i) {
        if (changes.at(i).first == Settings::ResultDir)
            folder = changes.at(i).second.toString();
        if (changes.at(i).first == Settings::Language) // asks for a restart: last of all
            changes.removeAt(i);
    }
    Background::run(
        this,
        [changes, turn, start, folder] {
            Outcome outcome;
            if (!folder.isEmpty() && !(outcome.folder = isFolder(folder)))
                return outcome;
            outcome.autoStart = !turn || AutoStart::set(start);
            for (const auto &one : changes)
                UserInfo::setSetting(one.first, one.second);
            if (!folder.isEmpty())
                ResultRoots::add(folder);
            return outcome;
        },
        [this, start](const Outcome &outcome) { kept(outcome, start); });
}

void Set::kept(const Outcome &outcome, bool startNow)
{
    if (!outcome.folder) {
        setBusy(false);
        showPage(Common);
        m_common->formOf(Folder)->setWhy(Folder, tr("文件夹不存在"));
        m_common->formOf(Folder)->editor(Folder)->setFocus();
        return;
    }
    if (outcome.autoStart)
        m_startWas = startNow;
    else
        m_common->setValue(Start, m_startWas);
    if (!outcome.autoStart) {
        setBusy(false);
        return setError(tr("开机自启动设置失败"), [this] { on_submit_clicked(); });
    }
    send();
}

void Set::send()
{
    QJsonObject record = CommonConfig::get().saveBody();
    m_common->lay(&record);
    m_advanced->lay(&record);
    // What the server took is in force, also where the window was closed meanwhile.
    const QPointer<Set> self(this);
    ServerCall::ask(qApp, Command::SaveConfig, record, [this, self, record](const ServerCall::Answer &answer) {
        if (answer.good())
            CommonConfig::overlay(record);
        if (!self)
            return;
        setBusy(false);
        if (!answer.good())
            return setError(tr("保存失败") + QStringLiteral("：") + answer.text(), [this] { on_submit_clicked(); });
        if (QWidget *over = parentWidget())
            Toast::show(over->window(), tr("保存成功"));
        for (const auto &one : m_common->changes())
            if (one.first == Settings::Language)
                emit languageChosen(one.second.toString());
        emit saved();
        close();
    });
}
