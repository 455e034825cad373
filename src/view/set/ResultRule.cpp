#include "view/set/ResultRule.h"
#include "common/UserInfo.h"
#include "view/set/CommonSet.h"
#include <QCheckBox>
#include <QDir>

ResultRule::ResultRule(const QString &rule, QWidget *parent)
    : DialogFrame(QStringLiteral("ResultRule"), tr("路径规则"), parent), m_example(new QLabel(this))
{
    setWanted({420, 0});
    const QPair<QString, QString> parts[] = {{QStringLiteral("%project%"), tr("项目")},
                                             {QStringLiteral("%submit%"), tr("提交日期")},
                                             {QStringLiteral("%order%"), tr("订单号")}};
    for (const auto &part : parts) {
        auto *box = new QCheckBox(part.second, this);
        box->setChecked(rule.contains(part.first));
        connect(box, &QCheckBox::toggled, this, &ResultRule::follow);
        content()->addWidget(box);
        m_boxes.append({part.first, box});
    }
    m_example->setObjectName(QStringLiteral("quiet"));
    m_example->setTextFormat(Qt::PlainText);
    m_example->setWordWrap(true);
    content()->addWidget(m_example);
    content()->addStretch(1);
    addButton(tr("确定"), Primary, [this] {
        emit resultRule(chosen());
        close();
    });
    addButton(tr("取消"), Close);
    follow();
}

QString ResultRule::chosen() const
{
    QStringList tokens;
    for (const auto &one : m_boxes)
        if (one.second->isChecked())
            tokens << one.first;
    return tokens.join(QLatin1Char('/'));
}

void ResultRule::follow()
{
    m_example->setText(
        tr("示例：%1").arg(QDir::toNativeSeparators(CommonSet::examplePath(UserInfo::resultDir(), true, chosen()))));
}
