#include "view/LinkLine.h"
#include "io/NetTcp.h"
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace
{
constexpr int WaitMs = 1000;
}

LinkLine::LinkLine(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("linkLine"));
    setAttribute(Qt::WA_StyledBackground);
    auto *line = new QHBoxLayout(this);
    line->setContentsMargins(16, 2, 16, 2);
    line->setSpacing(8);
    auto *words = new QLabel(tr("重新连接中 …"), this);
    words->setObjectName(QStringLiteral("quiet"));
    line->addWidget(words);
    auto *again = new QPushButton(tr("立即重试"), this);
    again->setObjectName(QStringLiteral("link"));
    again->setToolTip(tr("现在就重新连接服务器"));
    connect(again, &QPushButton::clicked, this, [] {
        if (!NetTcp::isLogin())
            NetTcp::instance()->resetLink(); // drops an attempt that hangs
    });
    line->addWidget(again);
    line->addStretch(1);
    hide();
    m_wait.setSingleShot(true);
    m_wait.setInterval(WaitMs);
    connect(&m_wait, &QTimer::timeout, this, &QWidget::show);
    connect(NetTcp::instance(), &NetTcp::loginChanged, this, &LinkLine::follow);
}

void LinkLine::follow(bool loggedIn)
{
    if (loggedIn) {
        m_wait.stop();
        hide();
    } else if (!isVisibleTo(parentWidget())) {
        m_wait.start();
    }
}
