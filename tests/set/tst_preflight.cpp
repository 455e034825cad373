// What a commit would send: found out on this disk and at the living farm, which books nothing for it; and the panel
// that shows it and never stands in the way.
#include "common/CommonConfig.h"
#include "common/facts/SceneState.h"
#include "common/ui/kit/TablePage.h"
#include "db/ResolveDAO.h"
#include "FarmRig.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "view/CommitPreview.h"
#include <memory>
#include <QDir>
#include <QFileDialog>
#include <QJsonArray>

class TestPreflight : public QObject
{
    Q_OBJECT
    std::unique_ptr<FarmRig> m_rig;
    std::unique_ptr<QTemporaryDir> m_disk;
    std::unique_ptr<QWidget> m_window;
    qlonglong m_last = 0;

    QString path(const QString &name) const { return m_disk->path() + '/' + name; }
    QString file(const QString &name, const QByteArray &content)
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile out(path(name));
        return out.open(QIODevice::WriteOnly) && out.write(content) == content.size() ? out.fileName() : QString();
    }
    qlonglong row(const QStringList &files, int farm = 1, int state = SceneState::Clean)
    {
        db_resolve res = scene(++m_last, state, path("shot.tgd"));
        res.rset = QString("{\"softwareType\":8,\"farmId\":%1}").arg(farm);
        const QByteArray list = QJsonDocument(QJsonArray::fromStringList(files)).toJson(QJsonDocument::Compact);
        res.rfile = "\"files\":" + list;
        QList<db_resolve> rows{res};
        return ResolveDAO::instance()->insertBatch(&rows) ? m_last : 0;
    }
    CommitPreview *open(const QList<qlonglong> &rkeys)
    {
        CommitPreview::Wish wish;
        wish.rkeys = rkeys;
        auto *panel = new CommitPreview(wish, m_window.get());
        connect(panel->preflight(), &Preflight::changed, this, [this](const PreflightFigures &now) { m_now = now; });
        m_now = PreflightFigures();
        panel->open();
        return panel;
    }
    bool over()
    {
        return comes([this] { return m_now.over; });
    }
    QString shown(CommitPreview *panel, const QString &title)
    {
        for (auto *label : panel->findChildren<QLabel *>())
            if (label->accessibleName() == title)
                return label->text();
        return {};
    }
    bool look(CommitPreview *panel, int number, const QString &where) // presses the row's button and chooses a folder
    {
        RecordView *view = panel->missing()->view();
        const QModelIndex cell = view->records()->index(number, 2);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(cell).topLeft() + QPoint(12, 14));
        auto *dialog = topLevel<QFileDialog>();
        if (!dialog)
            return false;
        emit dialog->fileSelected(where);
        dialog->close();
        return true;
    }
    PreflightFigures m_now;

private slots:
    void init()
    {
        account(61);
        CommonConfig::clear();
        m_disk = std::make_unique<QTemporaryDir>();
        QVERIFY(ResolveDAO::instance()->open(m_disk->path()));
        m_rig = std::make_unique<FarmRig>();
        NetWork::create();
        NetWork::instance()->forgetDrives();
        QVERIFY(m_rig->login());
        m_window = std::make_unique<QWidget>();
        m_window->resize(1100, 700);
        m_window->show();
    }
    void cleanup()
    {
        m_window.reset();
        QTRY_VERIFY(!topLevel<BaseWidget>());
        QCOMPARE(m_rig->farm.violations(), QStringList());
        QCOMPARE(m_rig->farm.counters().instantHits + m_rig->farm.counters().instantMisses, 0);
        QVERIFY(m_rig->farm.orders().isEmpty());
        m_rig.reset();
        ResolveDAO::instance()->releaseResolve();
    }

    // Two scenes with a file in common, copies, links and gaps; the largest are asked about first.
    void figures()
    {
        const QString big = file("a/rock.tif", QByteArray(5000, 'r')), copy = file("b/rock.tif", QByteArray(5000, 'r'));
        const QDateTime then = QFileInfo(big).lastModified();
        QFile same(copy);
        QVERIFY(same.open(QIODevice::ReadWrite) && same.setFileTime(then, QFileDevice::FileModificationTime));
        const QString small = file("a/s.tif", "123"), empty = file("b/empty", "");
        m_rig->farm.faults().set("instant", "101401@1");
        CommitPreview *panel = open({row({big, small, path("no/x.tif"), path("no/y.tif"), path("a")}), row({copy, small, empty}), 999});
        QVERIFY(over());
        QCOMPARE(QString("%1 %2 %3 %4 %5 %6")
                     .arg(m_now.scenes)
                     .arg(m_now.gone)
                     .arg(m_now.files)
                     .arg(m_now.missing)
                     .arg(m_now.bytes)
                     .arg(m_now.copies),
                 QString("2 1 7 3 10003 1"));
        QCOMPARE(m_now.asked, 4);
        QCOMPARE(m_now.here, 1);
        QCOMPARE(m_now.toSend(), 5003LL); // it had one of the largest
        QVERIFY(m_now.freeBytes > 0 && m_now.trouble.isEmpty());
        QCOMPARE(m_now.folders.first().folder, path("no"));
        QTRY_COMPARE(shown(panel, "缺失"), QString("3 个"));
        QVERIFY(panel->missing()->isVisible() && panel->error().isEmpty());
    }
    // Whatever is still open: "提交" goes at once, and the panel's end ends its work.
    void commitAtOnce()
    {
        m_rig->farm.faults().set("http-silent", "1");
        CommitPreview *panel = open({row({file("a.tif", "1")})});
        const QPointer<Preflight> flight = panel->preflight();
        QSignalSpy commit(panel, &CommitPreview::commit);
        activate(panel);
        QTest::keyClick(panel->focusWidget(), Qt::Key_Return);
        QCOMPARE(commit.size(), 1);
        QTRY_VERIFY(!flight && !topLevel<CommitPreview>());
    }
    // A farm that fails in each of its ways is told in a line, and asked again by its button.
    void farmThatFails_data()
    {
        columns<QString, QString, QString>("fault", "value", "told");
        addRow("silent", "http-silent", "1", "农场没有应答");
        addRow("closes", "refuse-http", "1", "农场没有应答");
        addRow("wants an order", "instant", "1070006", "农场在下单之前不回答 (1070006)");
        addRow("no address", "refuse.11100", "1110001", "无法连接农场");
        addRow("token gone", "stale-access", "1@2", "");
        addRow("some lost", "http-status", "503@2", "农场没有应答");
    }
    void farmThatFails()
    {
        FETCH(QString, fault, QString, value, QString, told);
        QStringList files;
        for (int i = 0; i < 20; ++i)
            files << file(QString("f%1").arg(i), QByteArray(i, 'x'));
        m_rig->farm.faults().set(fault, value);
        const QPointer<Preflight> flight = new Preflight({row(files)}, fault == "http-silent" ? 400 : Patience);
        PreflightFigures now;
        connect(flight, &Preflight::changed, this, [&](const PreflightFigures &figures) { now = figures; });
        flight->start();
        QTRY_VERIFY(now.over);
        QCOMPARE(now.trouble, told);
        QVERIFY(now.asked == 20 || now.again);
        m_rig->farm.faults().clear();
        flight->askAgain();
        QVERIFY(comes([&] { // a slow machine may need the button more than once
            if (now.over && !now.trouble.isEmpty())
                flight->askAgain();
            return now.over && now.asked == 20 && now.trouble.isEmpty();
        }));
        QCOMPARE(now.here, 0);
        flight->deleteLater();
        QTRY_VERIFY(!flight);
    }
    void farmNotChosen()
    {
        CommitPreview *panel = open({row({file("a.tif", "1")}, 0)});
        QVERIFY(over());
        QTRY_VERIFY(panel->error().contains("下单后才知道"));
        QVERIFY(!buttonOf(panel, "重试")->isVisible());
    }

    // A folder that has moved is shown once; its neighbours and later scenes find their files by themselves.
    void findMoved()
    {
        file("new/tex/rock.tif", "rock"), file("new/tex/deep/sand.tif", "sand"), file("new/cache/a.vdb", "vdb");
        const QStringList lost{path("old/tex/rock.tif"), path("old/tex/deep/sand.tif"), path("old/cache/a.vdb"), path("old/tex/no.tif")};
        const qlonglong rkey = row(QStringList{path("shot.tgd")} + lost);
        CommitPreview *panel = open({rkey});
        QTRY_COMPARE(panel->missing()->view()->records()->rowCount(), 4);
        QVERIFY(QDir().mkpath(path("empty/tex")) && look(panel, 2, path("empty/tex")));
        QTRY_VERIFY(allText(panel).contains("中没有找到缺失的文件"));
        QVERIFY(FolderMaps::all().isEmpty()); // and isn't kept
        QCOMPARE(m_now.folders.value(0).folder, path("old/tex"));
        QVERIFY(look(panel, 0, path("new/tex")));
        QTRY_COMPARE(m_now.found, 3);
        QTRY_VERIFY(allText(panel).contains("已找到 3 个文件，还缺 1 个"));
        QVERIFY(over());
        QCOMPARE(m_now.asked, 3);
        const db_resolve now = ResolveDAO::instance()->readWithPara(rkey);
        QVERIFY(now.rfile.contains("new/tex/deep/sand.tif") && now.rfile.contains("old/tex/no.tif") && !now.rfile.contains("old/cache"));
        QVERIFY(now.rfile.contains("shot.tgd") && now.rdata.contains("\"pathMap\":[{\"from\":\"" + path("old")));
        // A scene itself has no stand-in, a committed one keeps its list.
        QVERIFY(!panel->missing()->acts()->fit("find", {"*" + m_disk->path()}).contains("*" + m_disk->path()));
        panel->close();
        const qlonglong late = row({path("old/cache/a.vdb")}, 1, SceneState::Committed);
        open({row({path("old/tex/rock.tif")}), late});
        QVERIFY(over());
        QCOMPARE(m_now.found, 1);
        QCOMPARE(m_now.missing, 1);
        QVERIFY(ResolveDAO::instance()->readWithPara(late).rfile.contains("old/cache"));
    }
    void widest_data()
    {
        columns<QString, QString, QString>("from", "to", "map");
        addRow("tail shared", "/a/b/tex", "/c/tex/", "/a/b -> /c");
        addRow("nothing shared", "/a/tex", "/c/maps", "/a/tex -> /c/maps");
        addRow("to the root", "/tex", "/c/tex", "/tex -> /c/tex");
        addRow("drives", "D:\\proj\\Tex", "e:/proj/tex", "D: -> e:");
        addRow("server", "//old/share/tex", "//new/share/tex", "//old/share -> //new/share");
    }
    void widest()
    {
        FETCH(QString, from, QString, to, QString, map);
        const FolderMap wide = FolderMap::widest(from, to);
        QCOMPARE(wide.from + " -> " + wide.to, map);
        QVERIFY(!wide.holds(wide.from + "x/y") && wide.moved(wide.from + "/q/y") == wide.to + "/q/y");
    }
    void orderOfHundredThousand()
    {
        QStringList files;
        for (int i = 0; i < 100000; ++i)
            files << path(QString("d%1/file_%2.exr").arg(i % 3000).arg(i));
        CommitPreview *panel = open({row(files)});
        QTRY_VERIFY_WITH_TIMEOUT(m_now.measured, 60000);
        QCOMPARE(m_now.missing, 100000);
        QCOMPARE(panel->missing()->view()->records()->rowCount(), int(Preflight::MostFolders));
    }
};

VN_TEST(TestPreflight)
#include "tst_preflight.moc"
