#include "common/platform/Platform.h"
#include "QueueRig.h"
#include "support/TestMain.h"

// One analysis after the other, each with a child that leaves one of its own behind: at the end there is no thread, no
// open file and no process more than after the first few. VN_ANALYSES says how many.
class TestLeaks : public QObject
{
    Q_OBJECT
    struct Held {
        int threads = 0, files = 0, processes = 0;
        qint64 kilobytes = 0;
    };
    static Held held()
    {
        Held now;
        now.threads = QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
        now.files = QDir("/proc/self/fd").entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System).size();
        const qint64 self = QCoreApplication::applicationPid();
        for (const platform::Process &process : platform::processes())
            now.processes += process.parent == self;
        QFile status("/proc/self/statm");
        if (status.open(QFile::ReadOnly))
            now.kilobytes = status.readAll().split(' ').value(1).toLongLong() * 4;
        return now;
    }

private slots:
    void manyAnalyses()
    {
        const int many = qMax(40, qEnvironmentVariableIntValue("VN_ANALYSES"));
        QueueRig rig;
        UserInfo::setResolveThread(5);
        const QString program = rig.file("cnode", "#!/bin/sh\n(sleep 300 &)\necho '<project><filename>'$1'</filename></project>'\n");
        QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        UserInfo::setAllValue("SoftwarePath", "clarisse3", program);
        const QString scene = rig.file("s.project", "scene {\n}\n");
        int left = 0, bad = 0;
        QObject here;
        connect(&dao(), &ResolveDAO::stateChanged, &here, [&](const db_resolve &res) {
            if (res.state != 106 && res.state != 104)
                return;
            bad += res.state == 104;
            --left;
        });
        const auto batch = [&](int count) {
            left += count;
            for (int i = 0; i < count; ++i)
                rig.drop(scene, {{"softwareType", 7}, {"env", QJsonObject{{"software", "clarisse3"}}}}, 100,
                         QStringLiteral("N%1").arg(++m_number));
        };
        rig.start({1, 100000, 100000, 100000});
        batch(20);
        QTRY_COMPARE_WITH_TIMEOUT(left, 0, 60000);
        const Held before = held();
        QElapsedTimer watch;
        watch.start();
        for (int done = 0; done < many; done += 20) {
            batch(20);
            QTRY_COMPARE_WITH_TIMEOUT(left, 0, 60000);
            for (const db_resolve &row : dao().readAll())
                rig.handler->delResolve(row.rkey);
        }
        const qint64 elapsed = watch.elapsed();
        QCOMPARE(bad, 0);
        QTRY_COMPARE(held().processes, before.processes);
        const Held after = held();
        qDebug().noquote() << many << "analyses," << elapsed / qreal(many) << "ms each; threads" << before.threads << after.threads
                           << "files" << before.files << after.files << "children" << before.processes << after.processes << "KiB"
                           << before.kilobytes << after.kilobytes;
        // Pools grow where the analyses happen to overlap more than the first few did; a leak is one each.
        const int slack = many / 2;
        QTRY_VERIFY(held().threads < before.threads + slack && held().files < before.files + slack);
    }

private:
    static ResolveDAO &dao() { return *ResolveDAO::instance(); }
    int m_number = 0;
};

VN_TEST(TestLeaks)
#include "tst_leaks.moc"
