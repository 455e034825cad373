#include "view/frames/LogView.h"
#include "common/Delivery.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Metrics.h"
#include "view/frames/LogText.h"
#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>

namespace
{
constexpr qint64 ScanBytes = 64 << 20;  // indexed at a time, so that the window tells how far it is
constexpr qint64 MostCopied = 64 << 20; // bytes into the clipboard

QToolButton *button(const QString &icon, const QString &name)
{
    auto *one = new QToolButton;
    one->setIcon(IconTool::icon(icon));
    one->setToolTip(name);
    one->setAccessibleName(name);
    one->setFixedSize(Metrics::Control, Metrics::Control);
    return one;
}
} // namespace

LogView *LogView::open(QWidget *over, const QString &title, const QString &path)
{
    auto *view = new LogView(over, title, path);
    view->setAttribute(Qt::WA_DeleteOnClose);
    view->show();
    return view;
}

LogView::LogView(QWidget *over, const QString &title, const QString &path)
    : BaseWidget(Window, over ? over->window() : nullptr), m_log(std::make_shared<LogFile>(path)), m_text(new LogText)
{
    setWindowFlag(Qt::Window);
    setTitle(title.isEmpty() ? tr("日志查看") : tr("日志查看") + QStringLiteral(" - ") + title);
    makeBar();
    body()->addWidget(m_text, 1);
    m_state = new QLabel;
    m_state->setObjectName(QStringLiteral("quiet"));
    m_state->setContentsMargins(Metrics::Margin, 4, Metrics::Margin, 6);
    body()->addWidget(m_state);
    resize(900, 500);
    rememberPlace(QStringLiteral("LogView"));
    m_text->setLog(m_log);
    m_more.setInterval(MoreMs);
    connect(&m_more, &QTimer::timeout, this, &LogView::wantMore);
    scan();
    m_text->setFocus();
}

LogView::~LogView()
{
    if (m_stop)
        *m_stop = true;
    m_finds.finish();
    m_files.finish();
}

void LogView::makeBar()
{
    auto *bar = new QHBoxLayout;
    bar->setContentsMargins(Metrics::Margin, Metrics::Gap, Metrics::Margin, Metrics::Gap);
    bar->setSpacing(Metrics::Gap);
    m_search = new QLineEdit;
    m_search->setPlaceholderText(tr("搜索，可用正则表达式"));
    m_search->setAccessibleName(tr("搜索日志"));
    m_search->setClearButtonEnabled(true);
    m_search->setMinimumWidth(160);
    auto *back = button(QStringLiteral("chevron-up"), tr("上一个"));
    auto *next = button(QStringLiteral("chevron-down"), tr("下一个"));
    auto *errors = new QPushButton(tr("下一个错误"));
    errors->setShortcut(QKeySequence(Qt::Key_F8));
    errors->setToolTip(QStringLiteral("F8"));
    auto *wrap = new QCheckBox(tr("自动换行"));
    m_coding = new QComboBox;
    m_coding->setAccessibleName(tr("编码"));
    m_coding->addItems({QStringLiteral("UTF-8"), QStringLiteral("UTF-16 LE"), QStringLiteral("UTF-16 BE"),
                        QStringLiteral("GB18030"), QStringLiteral("Windows-1252")});
    auto *copyButton = new QPushButton(tr("复制"));
    auto *saveButton = new QPushButton(tr("另存为"));
    bar->addWidget(m_search, 1);
    bar->addWidget(back);
    bar->addWidget(next);
    bar->addWidget(errors);
    bar->addWidget(wrap);
    bar->addWidget(m_coding);
    bar->addWidget(copyButton);
    bar->addWidget(saveButton);
    body()->addLayout(bar);
    connect(m_search, &QLineEdit::returnPressed, this,
            [this] { search(m_search->text(), !(QGuiApplication::keyboardModifiers() & Qt::ShiftModifier)); });
    connect(back, &QToolButton::clicked, this, [this] { search(m_search->text(), false); });
    connect(next, &QToolButton::clicked, this, [this] { search(m_search->text(), true); });
    connect(errors, &QPushButton::clicked, this, &LogView::nextError);
    connect(wrap, &QCheckBox::toggled, m_text, &LogText::setWrap);
    connect(copyButton, &QPushButton::clicked, this, &LogView::copy);
    connect(saveButton, &QPushButton::clicked, this, &LogView::save);
    connect(m_coding, QOverload<int>::of(&QComboBox::activated), this, [this](int index) {
        m_log->setCoding(LogFile::Coding(index));
        m_text->grown(true);
        scan();
    });
}

void LogView::scan()
{
    if (m_scanning) {
        m_again = true;
        return;
    }
    m_scanning = true;
    m_files.post([way = Delivery::here(), self = QPointer<QObject>(this), this, log = m_log] {
        const bool more = log->scan(ScanBytes);
        way.post(self, [this, more, anew = log->shrunk()] { scanned(more, anew); });
    });
}

void LogView::scanned(bool more, bool anew)
{
    m_scanning = false;
    m_coding->setCurrentIndex(int(m_log->coding()));
    m_text->grown(anew);
    say(anew ? tr("日志已重新开始") : QString());
    if (more || std::exchange(m_again, false))
        return scan();
    emit indexed();
    if (m_wanted)
        wantMore();
}

void LogView::say(const QString &words)
{
    const QString length = tr("%L1 行，%L2 字节").arg(m_log->lines()).arg(m_log->indexed());
    m_state->setText(!words.isEmpty()   ? words
                     : m_told.isEmpty() ? length
                                        : QStringLiteral("%1    %2").arg(length, m_told));
}

void LogView::tell(const QString &words)
{
    m_told = words;
    say();
}

void LogView::begunAnew()
{
    m_log->restart();
    scan();
}

void LogView::insertLog(const QByteArray &log)
{
    m_files.post([way = Delivery::here(), self = QPointer<QObject>(this), this, path = m_log->path(), log] {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        const bool kept = file.open(QIODevice::Append) && file.write(log) == log.size() && file.flush();
        way.post(self, [this, kept, why = file.errorString()] {
            if (!kept)
                say(tr("日志无法写入：%1").arg(why));
            else
                scan();
        });
    });
}

void LogView::startAnew()
{
    m_files.post([path = m_log->path()] { QFile::resize(path, 0); });
    begunAnew();
}

void LogView::setSource(std::function<void(qint64)> source)
{
    m_source = std::move(source);
    m_over = false;
    m_more.start();
    wantMore();
}

void LogView::over()
{
    m_over = true;
    m_more.stop();
}

// While nobody looks nothing is asked.
void LogView::wantMore()
{
    m_wanted = m_scanning; // what is here is counted first
    if (m_source && !m_over && isVisible() && !isMinimized() && !m_scanning)
        m_source(m_log->indexed());
}

void LogView::showEvent(QShowEvent *event)
{
    BaseWidget::showEvent(event);
    wantMore();
}

void LogView::search(const QString &pattern, bool forward)
{
    const QRegularExpression what(pattern, QRegularExpression::CaseInsensitiveOption);
    if (!what.isValid())
        return say(tr("表达式有误：%1").arg(what.errorString()));
    m_text->setMarks(what);
    if (!pattern.isEmpty())
        find(what, forward);
}

void LogView::nextError() { find(LogText::errorMark(), true); }

void LogView::find(const QRegularExpression &what, bool forward)
{
    if (m_stop)
        *m_stop = true;
    m_stop = std::make_shared<std::atomic_bool>(false);
    m_searching = true;
    say(tr("搜索中 ..."));
    const qint64 from = m_text->currentLine() + (forward ? 1 : -1);
    m_finds.post([way = Delivery::here(), self = QPointer<QObject>(this), this, log = m_log, what, from, forward,
                  stop = m_stop] {
        qint64 line = from < 0 ? -1 : log->find(what, from, forward, *stop);
        if (line < 0 && !*stop) // once around
            line = log->find(what, forward ? 0 : log->lines() - 1, forward, *stop);
        way.post(self, [this, line, stop] {
            if (*stop)
                return;
            m_searching = false;
            say(line < 0 ? tr("没有找到") : QString());
            if (line >= 0)
                m_text->showLine(line);
            emit found(line);
        });
    });
}

void LogView::copy()
{
    m_finds.post([way = Delivery::here(), self = QPointer<QObject>(this), this, log = m_log,
                  first = m_text->firstSelected(), last = m_text->lastSelected()] {
        QStringList lines;
        qint64 bytes = 0;
        constexpr int Piece = 4096;
        for (qint64 at = first; at <= last && bytes < MostCopied; at += Piece)
            for (const QString &line : log->lines(at, int(qMin<qint64>(Piece, last - at + 1)))) {
                lines << line;
                bytes += line.size() * 2;
            }
        way.post(self, [this, text = lines.join(QLatin1Char('\n')), count = lines.size()] {
            QGuiApplication::clipboard()->setText(text);
            say(tr("已复制 %L1 行").arg(count));
        });
    });
}

void LogView::save()
{
    auto *dialog = new QFileDialog(this, tr("另存为"), QDir::homePath());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->selectFile(QFileInfo(m_log->path()).fileName());
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString &target) {
        m_files.post([way = Delivery::here(), self = QPointer<QObject>(this), this, from = m_log->path(), target] {
            QFile::remove(target);
            const bool good = QFile::copy(from, target);
            way.post(self, [this, good, target] {
                say(good ? tr("已保存：%1").arg(target) : tr("无法保存：%1").arg(target));
            });
        });
    });
    dialog->open();
}

void LogView::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Find)) {
        m_search->setFocus();
        m_search->selectAll();
    } else if (event->matches(QKeySequence::Copy)) {
        copy();
    } else if (event->matches(QKeySequence::Save)) {
        save();
    } else if (event->key() == Qt::Key_F3) {
        search(m_search->text(), !(event->modifiers() & Qt::ShiftModifier));
    } else if (event->key() == Qt::Key_Escape && m_search->hasFocus()) {
        m_text->setFocus();
    } else if (event->key() == Qt::Key_Escape) {
        close();
    } else {
        BaseWidget::keyPressEvent(event);
    }
}
