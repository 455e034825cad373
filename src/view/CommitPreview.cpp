#include "view/CommitPreview.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/RecordModel.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/Pagination.h"
#include "view/set/EnvRules.h"
#include "view/TransferList.h"
#include <QCheckBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QPushButton>
#include <QStyle>

namespace
{
constexpr qint64 LowSpace = 5LL << 30;
constexpr int TableHeight = 176, LeastWidth = 560, FolderWidth = 360;

QString bytesText(qint64 bytes) { return TransferList::sizeText(bytes); }

void say(QLabel *label, const QString &text, const char *look = "")
{
    if (label->objectName() != QLatin1String(look)) {
        label->setObjectName(QLatin1String(look));
        label->style()->unpolish(label);
        label->style()->polish(label);
    }
    if (label->text() != text)
        label->setText(text);
    label->setToolTip(RecordModelBase::plainTip(text));
}

QLabel *words(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}
} // namespace

CommitPreview::CommitPreview(const Wish &wish, QWidget *parent)
    : DialogFrame(QStringLiteral("CommitPreview"), tr("提交渲染"), parent), m_preflight(new Preflight(wish.rkeys)),
      m_lines(new QFormLayout)
{
    setHeading(wish.heading, wish.tip);
    if (!wish.question.isEmpty()) {
        QLabel *question = words(wish.question, this);
        if (wish.danger)
            question->setObjectName(QStringLiteral("warningText"));
        content()->addWidget(question);
    }
    makeFigures();
    makeMissing();
    if (wish.others > 0) {
        m_along = new QCheckBox(tr("同一批拖入的另外 %1 个场景，有警告的也自动提交").arg(wish.others), this);
        m_along->setChecked(true);
        content()->addWidget(m_along);
    }
    content()->addStretch(1);
    addButton(wish.danger ? tr("仍要提交") : tr("提交"), Primary, [this] {
        emit commit(!m_along || m_along->isChecked());
        close();
    });
    addButton(tr("返回"), Close);
    if (wish.danger)
        preferBack();
    connect(m_preflight, &Preflight::changed, this, &CommitPreview::tell);
    connect(m_preflight, &Preflight::looked, this, &CommitPreview::looked);
    tell(PreflightFigures());
    m_preflight->start();
}

CommitPreview::~CommitPreview() { m_preflight->deleteLater(); }

QLabel *CommitPreview::line(const QString &title)
{
    QLabel *value = words(QString(), this);
    value->setAccessibleName(title);
    auto *name = new QLabel(title, this);
    name->setObjectName(QStringLiteral("quiet"));
    m_lines->addRow(name, value);
    return value;
}

void CommitPreview::makeFigures()
{
    m_lines->setHorizontalSpacing(Metrics::Margin);
    m_lines->setVerticalSpacing(Metrics::Gap);
    m_files = line(tr("文件"));
    m_lost = line(tr("缺失"));
    m_copies = line(tr("重复"));
    m_here = line(tr("农场已有"));
    m_send = line(tr("还需上传"));
    m_space = line(tr("结果空间"));
    auto *box = new QWidget(this);
    box->setMinimumWidth(LeastWidth);
    box->setLayout(m_lines);
    m_lines->setContentsMargins(0, 0, 0, 0);
    content()->addWidget(box);
}

void CommitPreview::makeMissing()
{
    using C = Column<PreflightFolder>;
    m_model = new RecordModel<PreflightFolder>(
        [](const PreflightFolder &f) { return (f.findable ? QString() : QStringLiteral("*")) + f.folder; },
        {C(QStringLiteral("folder"), tr("缺失文件所在目录"), 240)
             .text([](const PreflightFolder &f) { return f.folder; })
             .tip([](const PreflightFolder &f) {
                 return f.folder + QLatin1Char('\n') + f.examples.join(QLatin1Char('\n'));
             })
             .stretch()
             .unsorted(),
         C(QStringLiteral("files"), tr("文件"), 160)
             .text([](const PreflightFolder &f) {
                 return f.files == 1 ? f.examples.value(0) : tr("%1 等 %2 个").arg(f.examples.value(0)).arg(f.files);
             })
             .tip([](const PreflightFolder &f) { return f.examples.join(QLatin1Char('\n')); })
             .unsorted(),
         C::acts(tr("操作"), 96)},
        this);
    TablePage::Look look;
    look.accessible = tr("缺失的文件");
    look.emptyIcon = QStringLiteral("check");
    look.emptyText = tr("没有缺失的文件");
    look.refresh = look.columns = look.bar = false;
    m_missing = new TablePage(look, m_model, this);
    ActSpec find("find", tr("查找…"), QStringLiteral("search"), ActSpec::Row | ActSpec::Menu);
    find.single = true;
    find.possible = m_model->when([](const PreflightFolder &f) { return f.findable; });
    find.run = [this](const QStringList &keys) { this->find(keys.first()); };
    m_missing->acts()->add(find);
    m_missing->build();
    m_missing->pages()->hide();
    m_missing->setMinimumHeight(TableHeight);
    connect(m_missing->view(), &RecordView::opened, this,
            [this](const QString &key) { m_missing->acts()->run(QStringLiteral("find"), {key}); });
    m_missing->hide();
    content()->addWidget(m_missing, 1);
    m_note = words(QString(), this);
    m_note->setObjectName(QStringLiteral("quiet"));
    m_note->hide();
    content()->addWidget(m_note);
}

QString CommitPreview::timeText(const PreflightFigures &figures)
{
    if (figures.toSend() <= 0)
        return {};
    if (figures.seconds() < 0)
        return tr("还没有测得上传速度");
    const QString span =
        EnvRules::spanText(double(figures.seconds() < 3600 ? figures.seconds() : figures.seconds() / 60 * 60));
    return tr("%1，按 %2/S 计")
        .arg(span.isEmpty() ? tr("不到 1 分") : tr("约 %1").arg(span), bytesText(figures.perSecond));
}

void CommitPreview::tell(const PreflightFigures &now)
{
    const auto number = [](int value) { return QLocale().toString(value); };
    const auto count = [&number](int files, qint64 bytes) {
        return tr("%1 个，%2").arg(number(files), bytesText(bytes));
    };
    const QString open = QStringLiteral("…");
    say(m_files, !now.measured     ? tr("正在统计… %1").arg(now.files > 0 ? number(now.files) : QString())
                 : now.scenes == 0 ? tr("没有可提交的文件列表")
                 : now.cut         ? tr("%1 个以上，%2").arg(number(now.files), bytesText(now.bytes))
                                   : count(now.files, now.bytes));
    const QString found = now.found > 0 ? tr("，另有 %1 个已在对应的目录中找到").arg(number(now.found)) : QString();
    say(m_lost, !now.measured ? open : (now.missing == 0 ? tr("无") : tr("%1 个").arg(number(now.missing))) + found,
        now.missing > 0 ? "warningText" : "");
    say(m_copies, !now.measured ? open
                  : now.copies == 0
                      ? tr("无")
                      : tr("%1 个同名同大小的文件，%2").arg(number(now.copies), bytesText(now.copyBytes)));
    const int there = now.files - now.missing;
    const QString here = count(now.here, now.hereBytes);
    say(m_here, !now.measured || (now.asked == 0 && !now.over) ? open
                : now.asked < there ? tr("%1（已询问 %2/%3）").arg(here, number(now.asked), number(there))
                                    : here);
    const QString send = bytesText(now.toSend()), time = timeText(now);
    say(m_send, !now.measured ? open : time.isEmpty() ? send : send + QStringLiteral("  ·  ") + time);
    const QString folder = fontMetrics().elidedText(now.resultFolder, Qt::ElideMiddle, FolderWidth);
    say(m_space,
        !now.measured       ? open
        : now.freeBytes < 0 ? tr("%1 的剩余空间未知").arg(folder)
                            : tr("%1 剩余 %2").arg(folder, bytesText(now.freeBytes)),
        now.measured && now.freeBytes < LowSpace ? "warningText" : "");
    m_space->setToolTip(RecordModelBase::plainTip(now.resultFolder));
    m_model->setRows(now.folders);
    m_missing->setVisible(!now.folders.isEmpty());
    std::function<void()> again;
    if (now.again)
        again = [this] {
            setError({});
            m_preflight->askAgain();
        };
    setError(now.trouble, again);
}

void CommitPreview::find(const QString &folder)
{
    auto *dialog =
        new QFileDialog(this, tr("“%1”现在在哪里？").arg(folder.mid(folder.lastIndexOf(QLatin1Char('/')) + 1)));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    connect(dialog, &QFileDialog::fileSelected, this, [this, folder](const QString &to) {
        m_looking = to;
        m_note->setText(tr("正在“%1”中查找…").arg(to));
        m_note->show();
        m_preflight->find(FolderMap::widest(folder, to));
    });
    dialog->open();
}

void CommitPreview::looked(int found, int left)
{
    m_note->setText(found == 0 ? tr("“%1”中没有找到缺失的文件").arg(m_looking)
                    : left == 0 ? tr("已找到 %1 个文件，以后缺失时会先在“%2”中查找").arg(found).arg(m_looking)
                                : tr("已找到 %1 个文件，还缺 %2 个").arg(found).arg(left));
    m_note->show();
}
