#include "view/driver/DriveConflict.h"
#include "common/ui/kit/RadioGroup.h"
#include "transfer/drive/DriveQueue.h"
#include "view/driver/FileView.h"

DriveConflict::DriveConflict(qlonglong farmPri, const QString &path, QWidget *parent)
    : DialogFrame(QStringLiteral("DriveConflict"), tr("文件已存在"), parent), m_choice(new RadioGroup(this))
{
    auto *words = new QLabel(tr("下载的文件在本机已存在，例如：\r\n%1").arg(DriveText::clean(path)), this);
    words->setTextFormat(Qt::PlainText);
    words->setWordWrap(true);
    content()->addWidget(words);
    m_choice->add(tr("跳过相同的文件"));
    m_choice->add(tr("覆盖本机的文件"));
    m_choice->add(tr("两个都保留"));
    m_choice->setCurrent(0);
    m_choice->setAccessibleName(tr("文件已存在"));
    content()->addWidget(m_choice);
    content()->addStretch(1);
    setWanted({400, 190});
    addButton(tr("确定"), Primary, [this, farmPri] {
        DriveQueue::setConflict(farmPri, db_upfarmD::SkipSame + m_choice->current());
        close();
    });
    addButton(tr("暂停下载"), Close, [farmPri] { DriveQueue::pause(UploadDDAO::Down, farmPri); });
}
