#include "view/HeadBar.h"
#include "common/ui/IconTool.h"
#include "common/ui/Links.h"
#include "common/ui/Palette.h"
#include "common/UserInfo.h"
#include <QActionGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

namespace
{
QIcon bell(bool red)
{
    QIcon icon;
    for (qreal ratio : {1.0, 2.0}) {
        QPixmap picture = IconTool::pixmap(QStringLiteral("bell"), Palette::text, 16, ratio);
        if (red && !picture.isNull()) {
            QPainter painter(&picture);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(Qt::NoPen);
            painter.setBrush(Palette::failed);
            painter.drawEllipse(QPointF(12.5, 3.5), 3, 3);
        }
        icon.addPixmap(picture);
    }
    return icon;
}
} // namespace

HeadBar::HeadBar(QWidget *parent) : QWidget(parent)
{
    auto *line = new QHBoxLayout(this);
    line->setContentsMargins(8, 0, 0, 0);
    line->setSpacing(8);
    m_notice = new QLabel(this);
    m_notice->setObjectName(QStringLiteral("notice"));
    connect(m_notice, &QLabel::linkActivated, this, [](const QString &link) { Links::open(QUrl(link)); });
    m_notice->setMinimumWidth(0);
    m_notice->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    line->addWidget(m_notice, 1);
    const auto plain = [&](const QString &name, const QString &tip) {
        auto *button = new QPushButton(this);
        button->setObjectName(QStringLiteral("account"));
        button->setProperty("part", name);
        button->setToolTip(tip);
        button->setAccessibleName(tip);
        line->addWidget(button);
        return button;
    };
    m_money = plain(QStringLiteral("money"), tr("账户余额，点击刷新"));
    m_money->setIcon(IconTool::icon(QStringLiteral("wallet")));
    m_money->hide();
    m_recharge = plain(QStringLiteral("recharge"), tr("充值"));
    m_recharge->setText(tr("充值"));
    m_recharge->hide();
    m_bell = new QToolButton(this);
    m_bell->setProperty("part", QStringLiteral("notices"));
    m_bell->setFocusPolicy(Qt::StrongFocus);
    m_bell->setFixedSize(28, 28);
    m_bell->setIcon(bell(false));
    m_bell->setToolTip(tr("消息"));
    m_bell->setAccessibleName(tr("消息"));
    line->addWidget(m_bell);
    auto *gear = new QToolButton(this);
    gear->setProperty("part", QStringLiteral("settings"));
    gear->setFocusPolicy(Qt::StrongFocus);
    gear->setFixedSize(28, 28);
    gear->setIcon(IconTool::icon(QStringLiteral("settings")));
    gear->setToolTip(tr("设置"));
    gear->setAccessibleName(tr("设置"));
    connect(gear, &QToolButton::clicked, this, &HeadBar::settings);
    line->addWidget(gear);
    m_account = plain(QStringLiteral("account"), tr("账号"));
    m_account->setIcon(IconTool::icon(QStringLiteral("user")));
    auto *menu = new QMenu(m_account);
    menu->addAction(tr("设置"), this, &HeadBar::settings);
    menu->addAction(tr("切换账号"), this, &HeadBar::changeUser);
    QMenu *languages = menu->addMenu(tr("语言"));
    const QPair<QString, QString> words[] = {{QStringLiteral("zh_cn"), QStringLiteral("中文")},
                                             {QStringLiteral("en_us"), QStringLiteral("English")}};
    auto *one = new QActionGroup(languages);
    for (const auto &[word, name] : words) { // each in its own tongue
        QAction *action = languages->addAction(name, this, [this, word = word] { emit language(word); });
        one->addAction(action);
        action->setCheckable(true);
        action->setChecked((word == QLatin1String("zh_cn")) == (UserInfo::languageNumber() == 0));
    }
    menu->addAction(tr("软件更新"), this, &HeadBar::updates);
    menu->addSeparator();
    menu->addAction(tr("退出程序"), this, &HeadBar::leave);
    m_account->setMenu(menu);
    connect(m_money, &QPushButton::clicked, this, &HeadBar::refreshBalance);
    connect(m_recharge, &QPushButton::clicked, this, &HeadBar::recharge);
    connect(m_bell, &QToolButton::clicked, this, &HeadBar::notices);
}

QString HeadBar::noticeText(const QJsonObject &obj)
{
    const QString content = obj.value(QLatin1String("content")).toString();
    if (content.isEmpty())
        return {};
    const QString link = obj.contains(QLatin1String("url")) ? obj.value(QLatin1String("url")).toString()
                                                            : obj.value(QLatin1String("link")).toString();
    return QStringLiteral("<style>a{text-decoration:none;color:#ccc}</style><a href=%1>%2</a>")
        .arg(link.toHtmlEscaped(), content.toHtmlEscaped());
}

void HeadBar::setNotice(const QJsonObject &obj)
{
    m_notice->setText(noticeText(obj));
    m_notice->setToolTip(obj.value(QLatin1String("content")).toString().toHtmlEscaped());
}

void HeadBar::setAccount(const QString &name)
{
    m_account->setText(fontMetrics().elidedText(name, Qt::ElideMiddle, 160));
}

void HeadBar::setBalance(const QString &text)
{
    m_money->setText(text);
    showMoney(m_moneyShown);
}

void HeadBar::showMoney(bool show)
{
    m_moneyShown = show;
    m_money->setVisible(show && !m_money->text().isEmpty());
    m_recharge->setVisible(show && m_possible);
}

void HeadBar::setRecharge(bool possible)
{
    m_possible = possible;
    showMoney(m_moneyShown);
}

void HeadBar::setRedMark(bool on)
{
    m_red = on;
    m_bell->setIcon(bell(on));
}

QString HeadBar::noticeHtml() const { return m_notice->text(); }
QString HeadBar::balanceText() const { return m_money->text(); }
bool HeadBar::redMark() const { return m_red; }
