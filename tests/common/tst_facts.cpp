// What the whole house agrees on: laws of the tables, not the tables.
#include "common/facts/AnalysisError.h"
#include "common/facts/Command.h"
#include "common/facts/Rset.h"
#include "common/facts/SceneState.h"
#include "common/facts/Settings.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QJsonArray>

using namespace SceneState;

class TestFacts : public QObject
{
    Q_OBJECT
private slots:
    // Every state is reached from a drop, and none but the ends is a trap.
    void everyStateIsReached()
    {
        QSet<int> reached{Waiting};
        for (int before = 0; before != reached.size();) {
            before = reached.size();
            for (int act = int(Act::Commit); act <= int(Act::EndAtMaster); ++act)
                for (int state : from(Act(act)).list())
                    if (reached.contains(state))
                        for (int next : to(Act(act)).list())
                            reached.insert(next);
        }
        for (int state = First; state < Submitted; ++state) {
            QVERIFY2(reached.contains(state), qPrintable(QString::number(state)));
            QVERIFY(possible(Act::Delete, state));
            bool leaves = state == DoneForSeat || state == DoneAtMaster || state == Rejected;
            for (int act = int(Act::Commit); act <= int(Act::EndAtMaster); ++act)
                leaves |= possible(Act(act), state) && !to(Act(act)).isEmpty() && to(Act(act)).only() != state;
            QVERIFY2(leaves, qPrintable(QString::number(state)));
            QVERIFY(!text(state).isEmpty() == (state != DoneForSeat));
        }
        // What a pause stops a resume brings back, and nothing that was sent is analysed again.
        QVERIFY(from(Act::ResumeAnalysis).contains(to(Act::PauseAnalysis).only()));
        QVERIFY(from(Act::ResumeUpload).contains(to(Act::PauseUpload).only()));
        for (int state : from(Act::Again).list())
            QVERIFY(state < Committed);
        for (int type = 0; type < 4; ++type)
            QCOMPARE(changeType(ofChangeType(type)), type);
    }

    void goodResults()
    {
        for (const auto &[command, result, good] : Rows<int, int, bool>{{10400, 1040000, true}, // its own, and what stands beside it
                                                                        {10400, 1040006, false},
                                                                        {10401, 1040000, false},
                                                                        {10401, 1010100, true},
                                                                        {10406, 1040608, true},
                                                                        {10426, 1042606, true},
                                                                        {10426, 1042600, false},
                                                                        {10405, 1040517, true}})
            QVERIFY2(Command::good(command, result) == good, qPrintable(QString::number(result)));
    }

    void settings()
    {
        QSet<QString> places;
        for (const Settings::Setting &setting : Settings::all()) {
            QCOMPARE(int(setting.id), places.size()); // stands where its number says
            places.insert(QStringLiteral("%1 %2/%3").arg(int(setting.scope)).arg(setting.group, setting.key));
            QCOMPARE(Settings::valid(setting.id, setting.fallback), setting.fallback);
        }
        QCOMPARE(places.size(), int(Settings::KeyCount));
        QCOMPARE(Settings::valid(Settings::DownSpeed, -3).toInt(), 0);
        QCOMPARE(Settings::valid(Settings::Role, "boss").toString(), QString());
        QCOMPARE(Settings::key(Settings::LastEnvironment, 3), QString("defaultEnvId_3"));
    }

    void rsetKeepsWhatItDoesNotKnow()
    {
        Rset rset(R"({"own":[1],"env":{"software":"maya2016","plugins":[{"name":"x"}]},"seat":"s","clientFlag":12345678901})");
        rset.set("softwareType", 1);
        const Rset again(rset.text());
        QVERIFY(again.good() && again.has("own") && again.softwareType() == 1);
        QCOMPARE(again.seatKey(), 12345678901ll);
        QCOMPARE(again.plugins().size(), 1);
        QVERIFY(!Rset(QString("{")).good() && Rset(QString()).good());
        const Rset made = Rset::of({8,
                                    {{"startGpu", 1}},
                                    {},
                                    {{"machineModel", "m"}, {"farmId", 2}},
                                    {{"combos", 1}},
                                    "/p",
                                    "/s/a.tgd",
                                    {{"farmId", 7}, {"token", "t"}}});
        QCOMPARE(made.object().value("farmId").toInt(), 7); // the caller's word before the machine's
        QVERIFY(made.startGpu() == 1 && made.mayaProject().isEmpty() && !made.has("token"));
    }
};
VN_TEST(TestFacts)
#include "tst_facts.moc"
