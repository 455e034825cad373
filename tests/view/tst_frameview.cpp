// The windows of logs and frames: what keys and buttons do, what growing and missing things look like.
#include "common/ui/Background.h"
#include "support/TestMain.h"
#include "view/frames/ContactSheet.h"
#include "view/frames/FrameCanvas.h"
#include "view/frames/FrameView.h"
#include "view/frames/LogText.h"
#include "view/frames/LogView.h"
#include <QClipboard>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>

class TestFrameView : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    static QPushButton *button(QWidget *in, const QString &text)
    {
        for (QPushButton *one : in->findChildren<QPushButton *>())
            if (one->text() == text)
                return one;
        return nullptr;
    }
private slots:
    void cleanup()
    {
        for (QWidget *one : QApplication::topLevelWidgets())
            if (qobject_cast<LogView *>(one) || qobject_cast<FrameView *>(one))
                delete one;
    }

    void logFollowsAndStays()
    {
        const QString path = m_dir.filePath("logs/1_2.log");
        LogView *view = LogView::open(nullptr, "shot", path);
        QList<qint64> asked;
        QByteArray coming;
        for (int i = 0; i < 500; ++i)
            coming += i == 300 ? "Error: no camera\n" : "frame " + QByteArray::number(i) + '\n';
        QSignalSpy indexed(view, &LogView::indexed);
        view->setSource([&asked](qint64 from) { asked << from; });
        QTRY_VERIFY(indexed.size() > 0);
        view->insertLog(coming);
        QTRY_COMPARE(view->log()->lines(), 500LL);
        QTRY_VERIFY(view->text()->verticalScrollBar()->maximum() > 0 && view->text()->atEnd()); // follows
        view->text()->verticalScrollBar()->setValue(100);
        view->insertLog("one more\n");
        QTRY_COMPARE(view->log()->lines(), 501LL);
        QTRY_VERIFY(indexed.size() > 2);
        QCOMPARE(view->text()->verticalScrollBar()->value(), 100); // what is read stays
        QTRY_VERIFY(!asked.isEmpty() && asked.last() == view->log()->indexed());
        const int before = asked.size();
        view->hide(); // nobody looks: nothing is asked
        view->over();
        QSignalSpy found(view, &LogView::found);
        view->show();
        button(view, "下一个错误")->click();
        QTRY_COMPARE(found.size(), 1);
        QCOMPARE(found.takeFirst().at(0).toLongLong(), 300LL);
        QCOMPARE(asked.size(), before);
        QTest::keyClick(view->text(), Qt::Key_Down, Qt::ShiftModifier);
        QTest::keyClick(view, Qt::Key_C, Qt::ControlModifier);
        QTRY_COMPARE(QGuiApplication::clipboard()->text(), QString("Error: no camera\nframe 301"));
        auto *field = view->findChild<QLineEdit *>();
        QTest::keyClicks(field, "frame 4[0-9]$");
        QTest::keyClick(field, Qt::Key_Return);
        QTRY_COMPARE(found.size(), 1); // round the end to the front
        QCOMPARE(found.takeFirst().at(0).toLongLong(), 40LL);
        field->setText("(");
        QTest::keyClick(field, Qt::Key_Return);
        QVERIFY(view->findChild<QLabel *>("quiet")->text().contains("表达式有误"));
        view->startAnew();
        view->insertLog("again\n");
        QTRY_COMPARE(view->log()->line(0), QString("again"));
    }

    // Frames that somebody else knows of: fetched when they're looked at, until their file comes.
    void fetched()
    {
        const QString one = m_dir.filePath("got.png"), two = m_dir.filePath("f2.0007.png");
        for (const QString &path : {one, two}) {
            QImage picture(64, 32, QImage::Format_RGB32);
            picture.fill(path == one ? qRgb(10, 0, 0) : qRgb(200, 0, 0));
            QVERIFY(picture.save(path));
        }
        FrameView *view = FrameView::open(nullptr, two);
        const auto red = [view] { return qRed(view->canvas()->grab().toImage().pixel(view->canvas()->rect().center())); };
        QTRY_COMPARE(red(), 200);
        QList<int> asked;
        view->setFetch([&asked](int number) { asked << number; });
        FrameSequence frames = view->sequence();
        frames.ordered = {5, 7, 9};
        view->setFrames(frames, 9);
        view->show(9);
        QCOMPARE(asked, QList<int>{9}); // once
        view->refuse(9, "none yet");
        QCOMPARE(view->canvas()->note(), QString("none yet"));
        QTest::keyClick(view->canvas(), Qt::Key_Left);
        QTRY_COMPARE(red(), 200);
        QTest::keyClick(view->canvas(), Qt::Key_Right);
        QCOMPARE(asked, (QList<int>{9, 9}));
        view->give(9, one);
        QTRY_COMPARE(red(), 10);
        frames.files.insert(9, two); // its own file has come
        view->setFrames(frames, 9);
        QTRY_COMPARE(red(), 200);
    }

    void framesByKeys()
    {
        for (int number : {1, 2, 4}) {
            QImage picture(64, 32, QImage::Format_RGB32);
            picture.fill(qRgb(number * 40, 100, 20));
            QVERIFY(picture.save(m_dir.filePath(QString("f.%1.png").arg(number, 4, 10, QChar('0')))));
        }
        FrameView *view = FrameView::open(nullptr, m_dir.filePath("f.0002.png"));
        QSignalSpy shown(view, &FrameView::shown);
        QTRY_VERIFY(!shown.isEmpty() && view->number() == 2);
        const auto red = [view] { return qRed(view->canvas()->grab().toImage().pixel(view->canvas()->rect().center())); };
        QTRY_COMPARE(red(), 80);
        QTest::keyClick(view->canvas(), Qt::Key_Right); // 3 is missing
        QTRY_COMPARE(red(), 160);
        QCOMPARE(view->number(), 4);
        QTest::keyClick(view->canvas(), Qt::Key_Right);
        QCOMPARE(view->number(), 4);
        QTest::keyClick(view->canvas(), Qt::Key_Home);
        QTRY_COMPARE(red(), 40);
        QTest::keyClick(view->canvas(), Qt::Key_G);
        QTRY_COMPARE(red(), 100);
        QTest::keyClick(view->canvas(), Qt::Key_C);
        QTRY_COMPARE(red(), 40);
        QTest::keyClick(view->canvas(), Qt::Key_1);
        QCOMPARE(view->canvas()->zoom(), 1.0);
        QVERIFY((view->canvas()->pixelAt(view->canvas()->rect().center()) - QPoint(32, 16)).manhattanLength() <= 2);
        QTest::mouseMove(view->canvas(), view->canvas()->rect().center());
        view->show(3); // by the slider
        QTRY_VERIFY(view->grab().width() > 0 && view->number() == 3);
        QSignalSpy played(view, &FrameView::shown);
        QTest::keyClick(view->canvas(), Qt::Key_Space);
        QTRY_VERIFY(played.size() >= 5); // 4, 1, 2, 4, 1
        QTest::keyClick(view->canvas(), Qt::Key_Space);
        QList<int> numbers;
        for (const auto &one : played)
            if (numbers.isEmpty() || numbers.last() != one.at(0).toInt())
                numbers << one.at(0).toInt();
        QVERIFY(numbers.indexOf(4) < numbers.indexOf(1) && !numbers.mid(1).contains(3));
        button(view, "缩略图")->click();
        auto *sheet = view->findChild<ContactSheet *>();
        QTRY_VERIFY(sheet->isVisible());
        QCOMPARE(sheet->model()->rowCount(), 4);
        QCOMPARE(sheet->model()->index(2, 0).data().toString(), QString("3（缺）"));
        sheet->setCurrentIndex(sheet->model()->index(1, 0));
        QTest::keyClick(sheet, Qt::Key_Return);
        QTRY_COMPARE(view->number(), 2);
        QVERIFY(!sheet->isVisible());
        view->compareWith(m_dir.filePath("f.0004.png")); // of the same series: it stays while others are looked at
        const auto right = [view] {
            return qRed(view->canvas()->grab().toImage().pixel(view->canvas()->width() / 2 + 20, view->canvas()->height() / 2));
        };
        QTRY_COMPARE(right(), 160);
        QTest::keyClick(view->canvas(), Qt::Key_Home);
        QTRY_VERIFY(view->number() == 1 && right() == 160);
        QTRY_VERIFY(qRed(view->canvas()->grab().toImage().pixel(view->canvas()->width() * 3 / 4, view->canvas()->height() / 2)) < 255);
    }
};

VN_TEST(TestFrameView)
#include "tst_frameview.moc"
