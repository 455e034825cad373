#include "resolve/FrameSet.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QRegularExpression>

namespace
{
QString join(const QVector<int> &frames)
{
    QStringList list;
    for (int frame : frames)
        list << QString::number(frame);
    return list.join(' ');
}
} // namespace

class TestFrameSet : public QObject
{
    Q_OBJECT
private slots:
    void texts_data()
    {
        columns<QString, QString, QString, QString>("text", "rewritten", "frames", "keys");
        const auto row = [](const char *text, const char *rewritten, const char *frames, const char *keys) {
            addRow(text, QString::fromUtf8(text), rewritten, frames, keys);
        };
        row("5", "5", "5", "5");
        row("-5", "-5", "-5", "-5");
        row("7,5", "7,5", "5 7", "5,7");
        row("1-4", "1-4", "1 2 3 4", "1,2,4");
        row("1-5", "1-5", "1 2 3 4 5", "1,3,5");
        row("-5--1", "-5--1", "-5 -4 -3 -2 -1", "-5,-3,-1");
        row("-2-2:2", "-2-2:2", "-2 0 2", "-2,0,2");
        row("1-10:20,3", "1-10:20,3", "1 3", "1,3");
        row("1-5,3-7", "1-5,3-7", "1 2 3 4 5 6 7", "1,4,7");
        row("1-3:0", "1-3:1", "1 2 3", "1,2,3");
        row("1-3:2000", "1-3:1", "1 2 3", "1,2,3");
        row("1-3:99999999999", "1-3:1", "1 2 3", "1,2,3");
        row("1-3:-2", "1-3:1", "1 2 3", "1,2,3");
        row("1-3:", "1-3:1", "1 2 3", "1,2,3");
        row("8:3", "8", "8", "8");
        row("999999", "100000", "100000", "100000");
        row("-999999--999998", "-10000--10000", "-10000", "-10000");
        row("1-2\uff0c\uff0c,5,", "1-2,5", "1 2 5", "1,2,5");
        row(" 1 - 3 ", "1-3", "1 2 3", "1,2,3");
        row("5-1", "5-1", "", "");
        for (const char *bad :
             {"", ",", "a", "1-", "1--", "--5", "1--5", "1-2-3", "-1--2-3", "1234567", "1-3:x", "1.5", "1-2:3:4", "\u0665"})
            row(bad, bad, "", "");
    }
    void texts()
    {
        FETCH(QString, text, QString, frames);
        QTEST(FrameSet::rewrite(text), "rewritten");
        QCOMPARE(join(FrameSet::expand(text)), frames);
        QTEST(FrameSet::keyFrames(FrameSet::expand(text)), "keys");
        // What was rewritten means the same and stays as it is.
        QCOMPARE(join(FrameSet::expand(FrameSet::rewrite(text))), frames);
        QCOMPARE(FrameSet::rewrite(FrameSet::rewrite(text)), FrameSet::rewrite(text));
    }

    void messages_data()
    {
        columns<QString, QString, QString, QString>("keys", "frames", "keyMessage", "frameMessage");
        const QString none, backwards = "帧序列只支持从小到大排列！", outside = "优先帧不在序列帧范围内！";
        addRow("none", "", "1-10", none, none);
        addRow("within", "1,5-6", "1-10", none, none);
        addRow("backwards", "5-1", "1-10", backwards, none);
        addRow("outside", "11", "1-10", outside, none);
        addRow("between steps", "2", "1-10:3", outside, none);
        addRow("letters", "a", "1", "不支持输入英文，请检查！", none);
        addRow("characters", "1;2", "1;2", "输入的字符格式不正确，请检查！", "输入的字符格式不正确，请检查！");
        addRow("no frames", "", " , ", none, "请输入参数设置项的序列帧！");
        addRow("frames backwards", "", "3,9-1", none, "参数设置项的序列帧只支持从小到大排列！");
        addRow("longest step", "", "1-10:10", none, none);
        addRow("step too long", "", "1-10:11", none, "参数设置项的隔帧不在有效序列帧范围内！");
    }
    void messages()
    {
        FETCH(QString, keys, QString, frames);
        QTEST(FrameSet::checkKeyFrames(keys, {frames}), "keyMessage");
        QTEST(FrameSet::checkFrames(frames), "frameMessage");
    }

    void pastedTextIsJudgedAsTyped_data()
    {
        QTest::addColumn<QString>("text");
        for (const char *text : {"1", "1-2,3", "1\uff0c2", "-1--2", "1,", ",1", "1-2:3", "1,,2", "1234567", "1 2", "--1", "x"})
            addRow(text, QString::fromUtf8(text));
    }
    void pastedTextIsJudgedAsTyped()
    {
        QFETCH(QString, text);
        const QRegularExpression typed(QRegularExpression::anchoredPattern(FrameSet::typingPattern()));
        QCOMPARE(FrameSet::checkPaste(text).isEmpty(), typed.match(text).hasMatch());
    }

    void workIsBounded()
    {
        QString text;
        while (text.size() + 14 < FrameSet::MaxText)
            text += QStringLiteral("-10000-100000,");
        QCOMPARE(FrameSet::expand(text).size(), FrameSet::Highest - FrameSet::Lowest + 1);
        QVERIFY(FrameSet::checkPaste(text + '5').isEmpty());
        QVERIFY(FrameSet::expand(text + text).isEmpty());
        QVERIFY(FrameSet::stepEnabled("1-9") && !FrameSet::stepEnabled("1-9,3") && !FrameSet::stepEnabled("4"));
    }
};
VN_TEST(TestFrameSet)
#include "tst_frames.moc"
