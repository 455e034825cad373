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

    // Who may not stop a piece of work has no button for it.
    void cancelWantsARight()
    {
        const auto cancel = [](int state) {
            ResolveModel model;
            model.setRows({scene(1, state)});
            return !at(model, 0, ResolveModel::Hand, CellRole::Buttons).toStringList()[1].isEmpty();
        };
        for (int grant : {19, 1}) { // the right to analyse, to upload
            UserInfo::setRolePerm({{"grants", QJsonArray{grant}}, {"result", 1}});
            QCOMPARE(cancel(101), grant == 1);
            QCOMPARE(cancel(112), grant == 19);
            QVERIFY(cancel(100) && cancel(106));
        }
        UserInfo::setRolePerm({{"grants", QJsonArray()}, {"result", 1}});
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
