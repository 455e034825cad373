// Records and texts of tasks without windows: what the server sends, however it sends it.
#include "common/facts/SoftwareType.h"
#include "support/TestMain.h"
#include "task/Cell.h"
#include "task/TaskRecord.h"
#include <QJsonArray>
#include <QJsonDocument>

class TestTaskRecords : public QObject
{
    Q_OBJECT
private slots:
    // Numbers that come as texts, texts as numbers, identifiers beyond what a double keeps, nonsense: the row as it's meant.
    void aRowAsItMayCome()
    {
        const QJsonArray rows = QJsonDocument::fromJson(R"([
            {"id": "9007199254740993", "name": "a.MA", "num": 20240203000001, "cost": 12.5, "stage": "4", "status": 1.0,
             "totalFrame": "200", "successFrame": 50, "failureFrame": "1", "cancelFrame": -3, "GZ_ID": 5, "identity": "MAIN",
             "submitTime": 1706904306000, "confirmTime": "1706904306", "finishTime": "soon", "memory": null},
            {"id": 9007199254740993, "name": "x"}, {"id": 0}, {"id": "0"}, {"id": [1]}, 7, null,
            {"id": 7, "name": "b.max", "identity": "MAIN", "GZ_ID": "8", "farmId": 99999999999, "stage": {}, "isTimeout": "1"}
        ])")
                                    .array();
        const QList<TaskRecord> all = TaskRecord::list(rows);
        QCOMPARE(all.size(), 2); // the same number as text and as number is one task
        const TaskRecord &first = all.first();
        QCOMPARE(first.id, QString("9007199254740993"));
        QCOMPARE(Cell::idValue(first.id), QJsonValue("9007199254740993"));
        QCOMPARE(Cell::idValue(all.last().id), QJsonValue(7));
        QCOMPARE(first.num, QString("20240203000001"));
        QCOMPARE(first.cost, QString("12.5"));
        QCOMPARE(first.statusText(), QString("渲染中"));
        QCOMPARE(first.donePercent(), 25);
        QCOMPARE(first.cancelFrame, 0);
        QVERIFY(first.gzId.isEmpty() && first.identity.isEmpty()); // of 3ds Max tasks only
        QCOMPARE(first.submitTime, first.confirmTime);
        QCOMPARE(first.submitTime.size(), 19);
        QCOMPARE(first.finishTime, QString("soon"));
        QCOMPARE(all.last().gzId, QString("8"));
        QVERIFY(all.last().timeout && all.last().farmId == 0);
        QVERIFY(all.last().totalFrame == 0 && all.last().donePercent() == 0);
    }

    void durations()
    {
        QCOMPARE(TaskText::duration(7509), QString("02:05:09"));
        QCOMPARE(TaskText::duration(3 * 86400 + 61), QString("3 00:01:01"));
        QVERIFY(TaskText::duration(0).isEmpty() && TaskText::duration(-5).isEmpty());
    }

    void statesAndTexts_data()
    {
        QTest::addColumn<QList<int>>("codes"); // stage, status, result, subtype
        QTest::addColumn<QString>("text");
        const auto row = [](QList<int> codes, const char *text) {
            QTest::addRow("%d %d %d %d", codes[0], codes[1], codes[2], codes[3]) << codes << QString(text);
        };
        row({4, 3, 0, 10}, "等待确认"), row({4, 3, 0, 15}, "渲染暂停"), row({4, 1, 0, 15}, "即将暂停");
        row({4, 0, 2, 10}, "排队中"), row({4, 1, 0, 10}, "渲染中"), row({4, 2, 3, 15}, "渲染结束");
        row({0, 2, 3, 0}, "解析取消"), row({0, 2, 2, 0}, "解析失败"), row({0, 2, 0, 0}, ""), row({0, 1, 2, 0}, "");
        row({2, 2, 3, 0}, "上传取消"), row({2, 2, 2, 0}, "上传失败"), row({2, 1, 2, 0}, "");
        row({5, 2, 9, 0}, "下载结束"), row({5, 1, 0, 0}, ""), row({3, 2, 2, 0}, "准备失败"), row({3, 2, 3, 0}, "");
        row({1, 2, 2, 0}, ""), row({4, 4, 0, 0}, ""), row({-1, -1, -1, -1}, "");
    }
    void statesAndTexts()
    {
        QFETCH(QList<int>, codes);
        QTEST(TaskState::text({codes[0], codes[1], codes[2], codes[3]}), "text");
    }

    void softwareOfANameCountsItsEndingFirst()
    {
        QCOMPARE(TaskState::softwareOf("SHOT.MA"), int(SoftwareType::Maya));
        QCOMPARE(TaskState::softwareOf("max_shot.tgd", true), int(SoftwareType::Terragen));
        QCOMPARE(TaskState::softwareOf("maya_max"), 0);
        QCOMPARE(TaskState::softwareOf("Maya_Max", true), int(SoftwareType::Max)); // the later word
    }
};
VN_TEST(TestTaskRecords)
#include "tst_records.moc"
