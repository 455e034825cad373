// The program beside the client: one that hangs, talks rubbish, tells ports that are none or tells two.
#include "io/ChildProcess.h"
#include "support/TestMain.h"

class TestChild : public QObject
{
    Q_OBJECT
private slots:
    void portIsToldInTheEnd()
    {
        QTemporaryDir dir;
        QFile script(dir.filePath("child"));
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write("#!/bin/sh\ncd '" + dir.path().toUtf8() +
                     "'\necho life >> lives\n"
                     "[ $(wc -l < lives) = 1 ] && { echo 'socket_port soon'; exec cat; }\n" // hangs, though it speaks
                     "printf 'socket_port 70000\\nsocket_port -1\\nsocket_port 40'; printf '00\\r\\nsocket_port 1\\n'\nexec cat\n");
        script.close();
        QVERIFY(script.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
        ChildProcess child;
        child.setPortMs(300);
        child.setRestartMs(1);
        child.init(script.fileName(), false, true, true);
        QTRY_COMPARE(child.socketPort(), 4000);
        QFile lives(dir.filePath("lives"));
        QVERIFY(lives.open(QIODevice::ReadOnly));
        QVERIFY(lives.readAll().startsWith("life\nlife\n"));
    }
};

VN_TEST(TestChild)
#include "tst_child.moc"
