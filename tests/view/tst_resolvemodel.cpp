// The analysis page's rows: states, colours and buttons as the table has them, updates in place.
#include "common/Session.h"
#include "common/ui/Delegates.h"
#include "common/ui/Palette.h"
#include "db/ResolveDAO.h"
#include "support/TestMain.h"
#include "view/ResolveModel.h"
#include "ViewRig.h"

class TestResolveModel : public QObject
{
    Q_OBJECT
private:
    static QVariant at(const ResolveModel &model, int row, int column, int role = Qt::DisplayRole)
    {
        return model.index(row, column).data(role);
    }
    static QList<qlonglong> keys(const ResolveModel &model)
    {
        QList<qlonglong> list;
        for (int i = 0; i < model.rowCount(); ++i)
            list << at(model, i, 0, Qt::UserRole).toLongLong();
        return list;
    }
private slots:
    void initTestCase() { account(51); }

    void states_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("rs");
        QTest::addColumn<QString>("buttons"); // 0, 1, 2 with all rights
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("priority");
        const auto row = [](int state, const char *text, const char *rs, const char *buttons, int type, int priority) {
            QTest::newRow(qPrintable(QString::number(state))) << text << rs << buttons << type << priority;
        };
        row(100, "待解析", "0", "|取消|优先级", -1, 0);
        row(101, "解析中", "0", "暂停|取消|", 0, -1);
        row(102, "解析暂停", "0", "继续|取消|", 1, -1);
        row(103, "解析警告", "1", "|取消|", -1, -1);
        row(104, "解析错误", "2", "|取消|", -1, -1);
        row(105, "参数缺失", "0", "|取消|", -1, -1);
        row(106, "解析完成，请提交渲染", "3", "|取消|", -1, -1);
        row(107, "待提交", "0", "|取消|", -1, -1);
        row(108, "提交中", "0", "|取消|", -1, -1);
        row(109, "提交错误", "2", "|取消|", -1, -1);
        row(110, "待上传", "0", "|取消|优先级", -1, 1);
        row(111, "上传中", "0", "暂停|取消|优先级", 2, 1);
        row(112, "上传暂停", "0", "继续|取消|", 3, -1);
        row(113, "上传异常", "2", "继续|取消|", 3, -1);
        row(114, "申请失败", "2", "|取消|", -1, -1);
        row(115, "等待审核", "0", "|取消|", -1, -1);
        row(117, "申请驳回", "0", "|取消|", -1, -1);
    }
    void states()
    {
        QFETCH(QString, rs);
        const int state = QString(QTest::currentDataTag()).toInt();
        ResolveModel model;
        model.setRows({scene(1, state)});
        QTEST(at(model, 0, ResolveModel::State).toString(), "text");
        QCOMPARE(ResolveRules::rs(state), rs);
        QTEST(at(model, 0, ResolveModel::Hand, CellRole::Buttons).toStringList().join('|'), "buttons");
        QTEST(ResolveRules::changeType(state), "type");
        QTEST(ResolveRules::priorityType(state), "priority");
        const QList<QColor> colours{Palette::text, Palette::warning, Palette::failed, Palette::done};
        QCOMPARE(at(model, 0, ResolveModel::State, CellRole::Tint).value<QColor>(), colours[rs.toInt()]);
        QCOMPARE(at(model, 0, ResolveModel::State, Qt::UserRole).toInt(), state);
    }

    void cancelWantsARight_data()
    {
        QTest::addColumn<bool>("analyse");
        QTest::addColumn<bool>("upload");
        QTest::addColumn<QList<int>>("without"); // states whose cancel button goes
        QTest::newRow("all rights") << true << true << QList<int>();
        QTest::newRow("no analysis") << false << true << QList<int>{101, 102};
        QTest::newRow("no upload") << true << false << QList<int>{111, 112, 113};
        QTest::newRow("none") << false << false << QList<int>{101, 102, 111, 112, 113};
    }
    void cancelWantsARight()
    {
        QFETCH(bool, analyse);
        QFETCH(bool, upload);
        QFETCH(QList<int>, without);
        for (int state = 100; state <= 117; ++state)
            QVERIFY2(ResolveRules::buttons(state, analyse, upload)[1].isEmpty() == without.contains(state),
                     qPrintable(QString::number(state)));
    }

    void acts_data()
    {
        QTest::addColumn<int>("act");
        QTest::addColumn<QList<int>>("states");
        using A = ResolveRules::Act;
        QTest::newRow("commit") << int(A::Commit) << QList<int>{103, 104, 105, 106};
        QTest::newRow("commit again") << int(A::Recommit) << QList<int>{109};
        QTest::newRow("analyse again") << int(A::Again) << QList<int>{100, 101, 102, 103, 104, 105, 106};
        QTest::newRow("pause analysis") << int(A::PauseAnalysis) << QList<int>{100, 101};
        QTest::newRow("resume analysis") << int(A::KeepAnalysis) << QList<int>{102};
        QTest::newRow("pause upload") << int(A::PauseUpload) << QList<int>{110, 111};
        QTest::newRow("resume upload") << int(A::KeepUpload) << QList<int>{112, 113};
    }
    void acts()
    {
        QFETCH(int, act);
        QList<int> found;
        for (int state = 100; state <= 120; ++state)
            if (ResolveRules::possible(ResolveRules::Act(act), state))
                found << state;
        QTEST(found, "states");
    }

    void cells()
    {
        db_resolve res = scene(1767225600, 111, "/proj/valley/shot 010.tgd", 12);
        res.rtime = QDateTime(QDate(2026, 3, 4), QTime(5, 6, 7)).toMSecsSinceEpoch();
        res.fok = 2;
        res.fsum = 5;
        res.error = 10015;
        ResolveModel model;
        model.setRows({res, scene(2, 100)});
        QCOMPARE(at(model, 0, ResolveModel::Name).toString(), QString("shot 010.tgd"));
        QCOMPARE(at(model, 0, ResolveModel::Name, Qt::ToolTipRole).toString(), res.lpath);
        QCOMPARE(at(model, 0, ResolveModel::Name, CellRole::Icon).toString(), QString("timeout"));
        QCOMPARE(at(model, 0, ResolveModel::Time).toString(), QString("2026-03-04 05:06:07"));
        QCOMPARE(at(model, 0, ResolveModel::Progress).toString(), QString("2/5"));
        QCOMPARE(at(model, 0, ResolveModel::Progress, CellRole::Whole).toInt(), 5);
        QCOMPARE(at(model, 0, 0, Qt::UserRole).toLongLong(), 1767225600LL);
        QCOMPARE(at(model, 0, 0, Qt::UserRole + 1).toInt(), 12);
        QCOMPARE(at(model, 1, ResolveModel::Time).toString(), QString());
        QCOMPARE(at(model, 1, ResolveModel::Progress).toString(), QString());
        QStringList titles;
        for (int i = 0; i < model.columnCount(); ++i)
            titles << model.headerData(i, Qt::Horizontal, Qt::DisplayRole).toString();
        QCOMPARE(titles.join('|'), QString("|订单号|文件名称|所属项目|开始解析时间|上传进度|状态|操作"));
    }
    void errorsAreToldInTheTip_data()
    {
        QTest::addColumn<int>("error");
        QTest::addColumn<QString>("tip");
        QTest::newRow("analysis") << 10013 << "模型文件不存在";
        QTest::newRow("server") << 1042101 << "余额不足";
        QTest::newRow("no text of its own") << 10015 << "解析错误";
        QTest::newRow("unknown") << 77 << "解析错误";
    }
    void errorsAreToldInTheTip()
    {
        QFETCH(int, error);
        db_resolve res = scene(1, 104);
        res.error = error;
        ResolveModel model;
        model.setRows({res});
        QTEST(at(model, 0, ResolveModel::State, Qt::ToolTipRole).toString(), "tip");
    }

    // Reloads keep rows that stay where they are: no reset, indexes of staying rows survive.
    void reload_data()
    {
        QTest::addColumn<QList<qlonglong>>("before");
        QTest::addColumn<QList<qlonglong>>("after");
        using L = QList<qlonglong>;
        QTest::newRow("same") << L{1, 2, 3} << L{1, 2, 3};
        QTest::newRow("first goes") << L{1, 2, 3} << L{2, 3};
        QTest::newRow("one comes in the middle") << L{1, 3} << L{1, 2, 3};
        QTest::newRow("other order") << L{1, 2, 3, 4} << L{4, 2, 1, 3};
        QTest::newRow("all others") << L{1, 2} << L{7, 8, 9};
        QTest::newRow("to nothing") << L{1, 2} << L{};
        QTest::newRow("from nothing") << L{} << L{1, 2};
        QTest::newRow("mixed") << L{1, 2, 3, 4, 5} << L{5, 9, 3, 8, 1};
    }
    void reload()
    {
        QFETCH(QList<qlonglong>, before);
        QFETCH(QList<qlonglong>, after);
        const auto rows = [](const QList<qlonglong> &list, int state) {
            QList<db_resolve> out;
            for (qlonglong key : list)
                out << scene(key, state);
            return out;
        };
        ResolveModel model;
        model.setRows(rows(before, 100));
        QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        QHash<qlonglong, QPersistentModelIndex> held;
        for (int i = 0; i < before.size(); ++i)
            held.insert(before[i], model.index(i, ResolveModel::Name));
        model.setRows(rows(after, 101));
        QCOMPARE(keys(model), after);
        QCOMPARE(resets.size(), 0);
        for (qlonglong key : before)
            QCOMPARE(held[key].isValid() ? held[key].row() : -1, after.indexOf(key));
        for (int i = 0; i < after.size(); ++i)
            QCOMPARE(at(model, i, ResolveModel::State, Qt::UserRole).toInt(), 101);
    }

    // What the store signals changes the cells that it's about, and no others.
    void signalsChangeCells()
    {
        ResolveModel model;
        model.setRows({scene(1, 100), scene(2, 101), scene(3, 110)});
        QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
        const auto columns = [&] {
            if (changes.isEmpty())
                return QString("none");
            const auto args = changes.takeLast();
            changes.clear();
            return QString("%1:%2-%3")
                .arg(args[0].toModelIndex().row())
                .arg(args[0].toModelIndex().column())
                .arg(args[1].toModelIndex().column());
        };
        db_resolve res = scene(2, 106);
        res.rtime = 5000;
        res.fok = 9, res.fsum = 9;
        model.stateChanged(res);
        QCOMPARE(columns(), QString("1:2-7"));
        QCOMPARE(at(model, 1, ResolveModel::Progress).toString(), QString()); // counts belong to other states
        res.state = 110;
        model.stateChanged(res);
        QCOMPARE(at(model, 1, ResolveModel::Progress).toString(), QString("9/9"));
        changes.clear();
        res.ordernum = "A-77";
        res.missionid = 77;
        model.orderChanged(res);
        QCOMPARE(columns(), QString("1:1-1"));
        QCOMPARE(at(model, 1, ResolveModel::Order).toString(), QString("A-77"));
        QCOMPARE(at(model, 1, 0, Qt::UserRole + 1).toInt(), 77);
        model.upProgress(3, 4, 8);
        QCOMPARE(columns(), QString("2:5-5"));
        QCOMPARE(at(model, 2, ResolveModel::Progress).toString(), QString("4/8"));
        model.upProgress(99, 1, 1);
        model.stateChanged(scene(99, 100));
        QCOMPARE(columns(), QString("none"));
    }

    void ticks()
    {
        ResolveModel model;
        model.setRows({scene(1, 100), scene(2, 100), scene(3, 100)});
        QCOMPARE(model.tickState(), Qt::Unchecked);
        QVERIFY(model.setData(model.index(1, 0), Qt::Checked, Qt::CheckStateRole));
        QVERIFY(!model.setData(model.index(1, 1), Qt::Checked, Qt::CheckStateRole));
        QCOMPARE(model.ticked(), QList<qlonglong>{2});
        QCOMPARE(model.tickState(), Qt::PartiallyChecked);
        model.setRows({scene(3, 100), scene(2, 100)}); // a reload keeps the tick, a row that goes takes its tick along
        QCOMPARE(model.ticked(), QList<qlonglong>{2});
        model.tickAll(true);
        QCOMPARE(model.ticked(), (QList<qlonglong>{3, 2}));
        QCOMPARE(model.headerData(0, Qt::Horizontal, Qt::CheckStateRole).toInt(), int(Qt::Checked));
        model.setRows({scene(2, 100)});
        model.setRows({scene(2, 100), scene(3, 100)});
        QCOMPARE(model.ticked(), QList<qlonglong>{2});
        model.tickAll(false);
        QVERIFY(model.ticked().isEmpty());
    }
};

VN_TEST(TestResolveModel)
#include "tst_resolvemodel.moc"
