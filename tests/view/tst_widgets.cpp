// The pieces that windows are made of.
#include "common/ui/Background.h"
#include "common/ui/BaseWidget.h"
#include "common/ui/Delegates.h"
#include "common/ui/EmptyView.h"
#include "common/ui/Links.h"
#include "common/ui/Pagination.h"
#include "common/ui/SingleApp.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "ViewRig.h"
#include <QLineEdit>
#include <QMimeData>
#include <QStandardItemModel>
#include <QTableView>

class TestWidgets : public QObject
{
    Q_OBJECT
private slots:
    void pages()
    {
        Pagination pages;
        QSignalSpy changed(&pages, &Pagination::pageChanged);
        pages.setPageSum(1);
        QVERIFY(!pages.isVisibleTo(nullptr) && changed.isEmpty());
        pages.setPageSum(4);
        auto *number = pages.findChild<QLineEdit *>();
        const auto type = [&](const QString &text) {
            number->setText(text);
            emit number->editingFinished();
        };
        type("3");
        QCOMPARE(changed.takeFirst()[0].toInt(), 2);
        type("99");
        QCOMPARE(changed.takeFirst()[0].toInt(), 3);
        type("");
        QCOMPARE(changed.takeFirst()[0].toInt(), 0);
        type("1");
        QVERIFY(changed.isEmpty());
        type("4");
        changed.clear();
        pages.setPageSum(2); // the page is gone
        QCOMPARE(changed.takeFirst()[0].toInt(), 1);
        pages.first();
        QVERIFY(pages.page() == 0 && changed.isEmpty());
    }

    void messageAnswersOnce_data()
    {
        columns<int, int>("key", "button");
        addRow("return", int(Qt::Key_Return), int(MsgBox::Accepted));
        addRow("escape", int(Qt::Key_Escape), int(MsgBox::Cancelled));
        addRow("return on cancel", int(Qt::Key_Enter), int(MsgBox::Cancelled));
    }
    void messageAnswersOnce()
    {
        QFETCH(int, key);
        QPointer<MsgBox> box = new MsgBox(MsgBox::Choose, "sure?", nullptr);
        QSignalSpy answered(box.data(), &MsgBox::answered);
        box->open();
        if (key == Qt::Key_Enter)
            buttonOf(box, "取消")->setFocus();
        QTest::keyClick(box.data(), Qt::Key(key));
        if (box)
            box->on_headClose_clicked();
        QCOMPARE(answered.size(), 1);
        QTEST(answered[0][0].toInt(), "button");
        QTRY_VERIFY(!box);
    }
    void loopEndsWithItsParent()
    {
        auto *parent = new QWidget;
        parent->show();
        QTimer::singleShot(0, parent, [parent] { parent->deleteLater(); });
        QCOMPARE(MsgTool::msgLoop(MsgBox::Choose, "waits", parent), int(MsgBox::Cancelled));
        QTimer::singleShot(0, qApp, [] { press(topLevel<MsgBox>(), "确定"); });
        QVERIFY(MsgTool::msgChooseLoop("go?"));
    }

    void drops()
    {
        BaseWidget widget(BaseWidget::Page);
        widget.acceptFiles(true);
        QSignalSpy dropped(&widget, &BaseWidget::dropFileList);
        const auto drop = [&](const QList<QUrl> &urls) {
            QMimeData data;
            data.setUrls(urls);
            QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            enter.ignore();
            QApplication::sendEvent(&widget, &enter);
            QDropEvent event({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(&widget, &event);
            return enter.isAccepted();
        };
        QVERIFY(!drop({QUrl("http://h/a.tgd")}));
        QVERIFY(dropped.isEmpty());
        QVERIFY(drop({QUrl::fromLocalFile("/a b.tgd"), QUrl("http://h/x"), QUrl::fromLocalFile("/山.tgd")}));
        QCOMPARE(dropped.takeFirst()[0].toStringList(), (QStringList{"/a b.tgd", "/山.tgd"}));
    }
    void doubleClickMaximises()
    {
        BaseWidget window(BaseWidget::Window), dialog(BaseWidget::Dialog);
        for (BaseWidget *one : {&window, &dialog}) {
            one->show();
            QTest::mouseDClick(one->findChild<QWidget *>("headArea"), Qt::LeftButton, {}, {200, 10});
            QCOMPARE(one->isMaximized(), one == &window);
        }
        QTest::mouseDClick(window.findChild<QWidget *>("headArea"), Qt::LeftButton, {}, {200, 10});
        QVERIFY(!window.isMaximized());
        QSignalSpy closed(&dialog, &BaseWidget::closed);
        QTest::keyClick(&dialog, Qt::Key_Escape);
        QCOMPARE(closed.size(), 1);
    }

    // Words of a cell are clicked where they stand, and only there.
    void linkClicks()
    {
        QStandardItemModel model(1, 1);
        model.setData(model.index(0, 0), QStringList{"暂停", "", "优先级"}, CellRole::Buttons);
        QTableView view;
        auto *links = new LinkItem(&view);
        view.setModel(&model);
        view.setItemDelegate(links);
        view.setColumnWidth(0, 300);
        view.show();
        QSignalSpy clicked(links, &LinkItem::clicked);
        const QFontMetrics metrics(view.font());
        const QRect cell = view.visualRect(model.index(0, 0));
        const int second = cell.left() + 8 + metrics.horizontalAdvance("暂停") + 2 + 16;
        const auto click = [&](int x) { QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, {x, cell.center().y()}); };
        click(cell.left() + 12);
        click(second + 4);
        click(second - 8);
        click(cell.right() - 4);
        QStringList parts;
        for (const auto &one : clicked)
            parts << one[0].toString();
        QCOMPARE(parts.join(' '), QString("0 2"));
    }

    void emptyText()
    {
        QStandardItemModel model;
        QTableView view;
        view.setModel(&model);
        EmptyView empty(&view, "drop", "暂时没有解析记录呢", "hint");
        view.show();
        QVERIFY(empty.isVisible());
        model.appendRow(new QStandardItem("x"));
        QVERIFY(!empty.isVisible());
        model.removeRow(0);
        QVERIFY(empty.isVisible());
        view.resize(640, 333);
        QCoreApplication::processEvents();
        QCOMPARE(empty.size(), view.viewport()->size());
    }

    void backgroundKeepsOrderAndGuards()
    {
        QStringList done;
        QPointer<QObject> gone = new QObject;
        QThread *worker = nullptr;
        Background::run(
            this,
            [&] {
                worker = QThread::currentThread();
                return 1;
            },
            [&](int v) { done << QString::number(v); });
        Background::run(
            gone, [] { return 2; }, [&](int v) { done << QString::number(v); });
        Background::run(
            this, [] { return 3; }, [&](int v) { done << QString::number(v); });
        delete gone;
        QTRY_COMPARE(done.join(' '), QString("1 3"));
        QVERIFY(worker && worker != thread());
    }

    // A second start is refused and brings the first one forward; others of the machine can't take its place.
    void oneInstance()
    {
        QTemporaryDir dir;
        const QString runtime = dir.filePath("run"), data = dir.filePath("data");
        QVERIFY(QDir().mkdir(runtime));
        QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther);
        for (const QString &open : {runtime, QString(), dir.filePath("none"), QString("run")})
            QCOMPARE(SingleApp::folder(open, data), data); // others may look into it, or it isn't one
        QVERIFY(QFileInfo(data).isDir());
        QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QCOMPARE(SingleApp::folder(runtime, data), runtime);
        qputenv("XDG_RUNTIME_DIR", runtime.toUtf8());
        const QString name = SingleApp::instanceName("vandrel_test");
        QVERIFY2(name.startsWith(runtime + "/"), qPrintable(name));
        Instance first, second;
        QSignalSpy wanted(&first, &Instance::showUp);
        QVERIFY(first.take(name));
        QSignalSpy told(&first, &Instance::told);
        QVERIFY(!second.take(name, "vandrel://task/7"));
        QTRY_COMPARE(told.size(), 1);
        QCOMPARE(told[0][0].toString(), QString("vandrel://task/7"));
        QLocalSocket endless; // what never ends is cut off
        endless.connectToServer(name);
        endless.write(QByteArray(100000, 'x'));
        QTRY_COMPARE(endless.state(), QLocalSocket::UnconnectedState);
        auto *app = static_cast<SingleApp *>(qApp);
        QVERIFY(!app->handshake(name, true) && app->handshake(name, false));
        QTRY_COMPARE(wanted.size(), 3);
        QCOMPARE(told.size(), 1);
        qunsetenv("XDG_RUNTIME_DIR");
    }
    // The system's end of the session ends the program, though its window only hides when it's closed.
    void systemEndsTheSession()
    {
        struct Hides : QWidget {
            void closeEvent(QCloseEvent *event) override { event->ignore(); }
        } window;
        window.show();
        QVERIFY2(!QGuiApplication::isFallbackSessionManagementEnabled(), "windows aren't asked");
        QTimer late;
        connect(&late, &QTimer::timeout, qApp, [] { qApp->exit(5); });
        late.start(10000);
        QTimer::singleShot(0, qApp, [] { QCoreApplication::postEvent(qApp, new QEvent(QEvent::Quit)); });
        QCOMPARE(qApp->exec(), 0);
    }
    void linksForTheSystem()
    {
        for (const char *good : {"http://a.example/x", "HTTPS://a.example", "mailto:help@a.example"})
            QVERIFY2(Links::allowed(QUrl(good)), good);
        for (const char *bad : {"file:///etc/passwd", "javascript:alert(1)", "ssh://a.example/x", ""}) {
            QVERIFY2(!Links::allowed(QUrl(bad)), bad);
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Links::open.*isn't opened"));
            Links::open(QUrl(bad));
        }
    }
};

VN_TEST(TestWidgets)
#include "tst_widgets.moc"
