#include "view/driver/MoveFarmFile.h"
#include "view/driver/DriveDesk.h"
#include "view/driver/DriveRules.h"
#include "view/driver/DriveTree.h"
#include <QLineEdit>
#include <QPushButton>

MoveFarmFile::MoveFarmFile(int farmId, DriveDesk *desk, int count, const QVector<FileView> &chain, QWidget *parent)
    : DialogFrame(QStringLiteral("MoveFarmFile"), tr("文件移动"), parent), m_farm(farmId), m_desk(desk),
      m_tree(new DriveTree(tr("移动到"), this)), m_newLine(new QWidget(this)), m_name(new QLineEdit(m_newLine))
{
    setHeading(tr("将 %1 项移动到：").arg(count));
    m_tree->setMinimumHeight(160);
    content()->addWidget(m_tree, 1);
    auto *make = new QPushButton(tr("创建"), m_newLine);
    make->setObjectName(QStringLiteral("make"));
    m_name->setObjectName(QStringLiteral("newName"));
    m_name->setAccessibleName(tr("新文件夹的名称"));
    m_name->setPlaceholderText(tr("新文件夹的名称"));
    auto *line = new QHBoxLayout(m_newLine);
    line->setContentsMargins(0, 8, 0, 0);
    line->addWidget(m_name, 1);
    line->addWidget(make);
    m_newLine->hide();
    content()->addWidget(m_newLine);
    connect(make, &QPushButton::clicked, this, &MoveFarmFile::create);
    connect(m_name, &QLineEdit::textChanged, this, [this] { setError({}); });
    addButton(tr("新建文件夹"), Left, [this] { on_picOpen_clicked(); });
    addButton(tr("移动"), Primary, [this] { on_submit_clicked(); });
    addButton(tr("取消"), Close);
    setWanted({420, 320});
    connect(m_tree, &DriveTree::wanted, this, &MoveFarmFile::branch);
    connect(m_tree, &DriveTree::activatedId, this, [this] { setError({}); });
    m_tree->clear(DriveRest::Input);
    branch(QLatin1String(SubFile::Root));
    m_tree->showChain(chain);
    m_tree->openBranch(m_tree->chosen());
}

void MoveFarmFile::branch(const QString &id)
{
    m_desk->folders(DriveRest::children(m_farm, DriveRest::Input, id), id, this,
                    [this, id](const DriveDesk::Answer &answer) {
                        if (answer.good)
                            return m_tree->fillTree(answer.folders, id);
                        m_tree->failed(id);
                        setError(answer.text, [this, id] { branch(id); });
                    });
}

void MoveFarmFile::on_picOpen_clicked()
{
    m_newLine->show();
    m_name->setText(tr("新建文件夹"));
    m_name->selectAll();
    m_name->setFocus();
}

void MoveFarmFile::create()
{
    const QString name = m_name->text(), parent = m_tree->chosen();
    const QString refusal = DriveRules::refusal(DriveRules::judgeName(name));
    if (!refusal.isEmpty())
        return setError(refusal);
    const QVector<FileView> chain = m_tree->folders(parent);
    if (name.isEmpty() || chain.size() < 2)
        return setError(name.isEmpty() ? tr("请输入名称") : tr("请先选择盘符或文件夹"));
    setBusy(true, tr("正在创建…"));
    m_desk->ask(DriveRest::create(m_farm, DriveRest::Input, name, chain.at(1).diskName, parent), this,
                [this, parent](const DriveDesk::Answer &answer) {
                    setBusy(false);
                    if (!answer.good)
                        return setError(answer.text);
                    m_newLine->hide();
                    m_tree->setFocus();
                    branch(parent);
                    emit createDirFromMove(parent);
                });
}

void MoveFarmFile::on_submit_clicked()
{
    if (m_newLine->isVisible() && m_name->hasFocus())
        return create();
    const QStringList chain = m_tree->chain(m_tree->chosen());
    if (chain.size() < 2)
        return setError(tr("请先选择盘符或文件夹"));
    emit startMoveFile(chain.last(), chain);
}
