// What windows are built from: lists of records, their acts, forms, dialogs, questions to the server.
#include "common/ui/kit/DialogFrame.h"
#include "common/ui/kit/Form.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/kit/ServerCall.h"
#include "common/ui/kit/TablePage.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "ViewRig.h"
#include <cmath>
#include <QAction>
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QLineEdit>
#include <QMenu>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QScreen>

namespace
{
struct Item {
    QString key, name;
    int size = 0;
};
using Model = RecordModel<Item>;
using C = Column<Item>;
QVector<C> columns()
{
    return {C::tick(), C("name", "Name", 200).text([](const Item &i) { return i.name; }).stretch().atLeast(120),
            C("size", "Size", 90)
                .text([](const Item &i) { return QString::number(i.size); })
                .sort([](const Item &i) { return i.size; })
                .right()
                .giving(1),
            C("note", "Note", 160).text([](const Item &) { return QString("n"); }).giving(2).link(), C::acts("Acts", 120)};
}
QString keyOf(const Item &i) { return i.key; }
QList<Item> items(const QStringList &keys, int size = 0)
{
    QList<Item> out;
    for (const QString &key : keys)
        out << Item{key, "name " + key, size};
    return out;
}
} // namespace

class TestKit : public QObject
{
    Q_OBJECT
private:
    // A page with three acts: "go" for all but c, "drop" asks first, "new" needs no row.
    struct Page {
        Model model{keyOf, columns()};
        TablePage table{{"kit", "list", "drop", "empty", "hint", "find"}, &model};
        QStringList done;
        Page()
        {
            const auto note = [this](const QString &what) {
                return [this, what](const QStringList &keys) { done << what + ":" + keys.join(','); };
            };
            ActSpec go, drop, fresh;
            go.id = "go", go.text = "Go", go.places = ActSpec::Bar | ActSpec::Row | ActSpec::Menu;
            go.possible = [](const QString &key) { return key != "c"; };
            go.run = note("go");
            drop.id = "drop", drop.text = "Drop", drop.places = ActSpec::Bar | ActSpec::Row | ActSpec::Menu;
            drop.keys = QKeySequence::Delete, drop.danger = true;
            drop.question = [](const QStringList &keys) { return QString("drop %1?").arg(keys.size()); };
            drop.run = note("drop");
            fresh.id = "new", fresh.text = "New", fresh.places = ActSpec::Bar | ActSpec::Menu, fresh.free = true;
            fresh.run = note("new");
            for (const ActSpec &one : {fresh, go, drop})
                table.acts()->add(one);
            table.build();
            table.resize(900, 400);
            model.setRows(items({"a", "b", "c", "d"}));
            table.show();
            activate(&table);
        }
        QMenu *contextMenu(const QString &key)
        {
            const QPoint at = key.isEmpty() ? QPoint(5, table.view()->viewport()->height() - 5)
                                            : table.view()->visualRect(model.indexOf(key, 1)).center();
            QContextMenuEvent event(QContextMenuEvent::Mouse, at, table.view()->viewport()->mapToGlobal(at));
            QApplication::sendEvent(table.view()->viewport(), &event);
            return table.findChild<QMenu *>("contextMenu");
        }
        void menuRun(const QString &key, const QString &act)
        {
            QMenu *menu = contextMenu(key);
            QVERIFY(menu);
            auto *action = menu->findChild<QAction *>(act);
            QVERIFY(action);
            action->trigger();
            delete menu;
        }
    };

private slots:
    void initTestCase() { account(61); }
    void cleanup()
    {
        for (QWidget *widget : QApplication::topLevelWidgets())
            widget->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    // Any list becomes any other: rows that stay keep their place in everybody's hands, what doesn't differ isn't told.
    void reloads()
    {
        QRandomGenerator random(20260101);
        Model model(keyOf, columns());
        model.setSame([](const Item &a, const Item &b) { return a.size == b.size; });
        QSignalSpy resets(&model, &QAbstractItemModel::modelReset), told(&model, &QAbstractItemModel::dataChanged);
        QHash<QString, QPersistentModelIndex> held;
        QStringList before;
        for (int round = 0; round < 300; ++round) {
            QStringList wanted;
            for (int i = 0; i < 9; ++i)
                if (random.bounded(2))
                    wanted.insert(random.bounded(wanted.size() + 1), QString::number(i));
            told.clear();
            model.setRows(items(wanted, 1) + items(wanted.mid(0, 1), 7), {}); // a key twice: the first counts
            QCOMPARE(model.keys(), wanted);
            QVERIFY(told.isEmpty());
            for (const QString &key : before)
                QCOMPARE(held[key].isValid() ? held[key].row() : -1, wanted.indexOf(key));
            held.clear();
            for (const QString &key : wanted)
                held.insert(key, model.indexOf(key, 1));
            before = wanted;
        }
        model.setRows(items({"x", "y", "z"}, 1));
        told.clear();
        QList<Item> next = items({"x", "y", "z"}, 1);
        next[1].size = 2;
        model.setRows(next);
        QCOMPARE(told.size(), 1);
        QCOMPARE(told[0][0].toModelIndex().row(), 1);
        QVERIFY(resets.isEmpty());
    }
    void rowsBelow()
    {
        Model model(keyOf, columns());
        QSignalSpy more(&model, &RecordModelBase::moreWanted);
        model.setRows(items({"g", "h"}));
        model.setMore("g", true);
        QVERIFY(model.hasChildren(model.indexOf("g")) && !model.hasChildren(model.indexOf("h")));
        model.fetchMore(model.indexOf("g"));
        QCOMPARE(more.takeFirst()[0].toString(), QString("g"));
        model.setRows(items({"g1", "g2"}), "g");
        QPersistentModelIndex second = model.indexOf("g2");
        model.setRows(items({"h", "g"}));
        QCOMPARE(second.parent().row(), 1);
        model.setRows(items({"g2", "g1", "g3"}), "g");
        QCOMPARE(second.row(), 0);
        model.put(Item{"g2", "moved", 1}, "h"); // below another one now
        QCOMPARE(model.keys("h"), QStringList("g2"));
        model.remove("g");
        QVERIFY(!model.contains("g3") && model.contains("g2"));
    }
    void sortingKeepsSelectionAndComesBack()
    {
        Page page;
        QList<Item> rows = items({"a", "b", "c"});
        rows[0].size = 10, rows[1].size = 9, rows[2].size = 100;
        page.model.setRows(rows);
        page.table.view()->select({"b"});
        auto *head = page.table.view()->header();
        QStringList seen;
        for (int i = 0; i < 3; ++i) { // up, down, as they came
            emit head->sectionClicked(2);
            seen << page.model.keys().join("");
        }
        QCOMPARE(seen.join(' '), QString("bac cab abc"));
        QCOMPARE(page.table.view()->selected(), QStringList("b"));
        emit head->sectionClicked(2);
        rows[1].size = 1000; // a reload keeps to the order
        page.model.setRows(rows);
        QCOMPARE(page.model.keys().join(""), QString("acb"));
        QSignalSpy asked(&page.model, &RecordModelBase::sortWanted);
        page.model.setSortBy(RecordModelBase::SortBy::Source);
        page.model.sort(2, Qt::DescendingOrder);
        QCOMPARE(asked[0], (QVariantList{"size", true}));
    }
    void ticksAndNamesForReaders()
    {
        Model model(keyOf, columns());
        model.setRows({{"a", "<img src=x>", 0}, {"b", "b", 0}});
        QVERIFY(model.setData(model.indexOf("b", 0), Qt::Checked, Qt::CheckStateRole));
        QCOMPARE(model.indexOf("b", 0).data(Qt::AccessibleTextRole).toString(), QString("已勾选"));
        QCOMPARE(model.tickState(), Qt::PartiallyChecked);
        model.setRows({{"b", "b", 1}});
        QCOMPARE(model.ticked(), QStringList("b"));
        model.setRows({{"a", "<img src=x>", 0}});
        QVERIFY(model.ticked().isEmpty());
        QCOMPARE(model.indexOf("a", 1).data(Qt::ToolTipRole).toString(), QString("<span>&lt;img src=x&gt;</span>"));
    }

    // The bar means ticks or selection, the keyboard what it stands on, the context menu what was clicked.
    void whatActsWorkOn()
    {
        Page page;
        QAction *go = page.table.acts()->action("go");
        QVERIFY(!go->isEnabled() && page.table.acts()->action("new")->isEnabled());
        page.model.tick({"a"}, true);
        page.table.view()->select({"c"});
        page.menuRun("b", "go");
        QCOMPARE(page.done.takeLast(), QString("go:b"));
        page.table.view()->select({"a", "b", "c"}); // c can't
        page.menuRun("b", "go");
        QCOMPARE(page.done.takeLast(), QString("go:a,b"));
        QVERIFY(!page.contextMenu("c")->findChild<QAction *>("new"));
        delete page.table.findChild<QMenu *>("contextMenu");
        page.table.view()->clearSelection();
        QVERIFY(page.contextMenu("")->findChild<QAction *>("new"));
        delete page.table.findChild<QMenu *>("contextMenu");
        page.model.tick({"b"}, true);
        page.table.view()->select({"b"}); // within the ticks: those are meant
        go->trigger();
        QCOMPARE(page.done.takeLast(), QString("go:a,b"));
        activate(&page.table);
        page.table.view()->setFocus();
        page.table.view()->select({"d"}); // elsewhere: the row one looks at
        QTest::keyClick(page.table.view(), Qt::Key_Delete);
        QCOMPARE(message(), QString("drop 1?"));
        QVERIFY(answer("返回") && page.done.isEmpty());
        page.table.view()->select({"a", "b", "c", "d"});
        page.table.acts()->action("drop")->trigger();
        page.model.remove("b"); // gone before the answer
        QCOMPARE(message(), QString("drop 4?"));
        QVERIFY(answer("确定"));
        QCOMPARE(page.done, QStringList("drop:a,c,d"));
    }
    void rowButtons()
    {
        Page page;
        QCOMPARE(page.model.indexOf("c", 4).data(CellRole::Buttons).toStringList(), (QStringList{"", "Drop"}));
        const QRect cell = page.table.view()->visualRect(page.model.indexOf("c", 4));
        QTest::mouseClick(page.table.view()->viewport(), Qt::LeftButton, {}, cell.topLeft() + QPoint(12, 12));
        QCOMPARE(message(), QString("drop 1?"));
        QVERIFY(answer("确定"));
        QCOMPARE(page.done, QStringList("drop:c"));
    }
    void keys()
    {
        Page page;
        QSignalSpy again(&page.table, &TablePage::refreshWanted), opened(page.table.view(), &RecordView::opened);
        QSignalSpy searched(&page.table, &TablePage::searchWanted);
        page.table.view()->setFocus(Qt::TabFocusReason);
        QCOMPARE(page.table.view()->current(), QString("a")); // one sees where one stands
        QVERIFY(page.table.view()->selected().isEmpty());
        QTest::keyClick(page.table.view(), Qt::Key_Down);
        QCOMPARE(page.table.view()->selected(), QStringList("a"));
        QTest::keyClick(page.table.view(), Qt::Key_Space);
        QCOMPARE(page.model.ticked(), QStringList("a"));
        QTest::keyClick(page.table.view(), Qt::Key_Return);
        QCOMPARE(opened.value(0).value(0).toString(), QString("a"));
        QTest::keyClick(page.table.view(), Qt::Key_F5);
        QCOMPARE(again.size(), 1);
        QTest::keyClick(page.table.view(), Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(page.table.view()->selected().size(), 4);
        QTest::keyClick(page.table.view(), Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(QApplication::focusWidget(), page.table.search());
        QTest::keyClicks(page.table.search(), " ab ");
        QTRY_COMPARE(searched.value(0).value(0).toString(), QString("ab"));
        for (const auto *button : page.table.search()->findChildren<QToolButton *>())
            QVERIFY(!button->isVisible() || !button->accessibleName().isEmpty() || !button->isEnabled() ||
                    button->defaultAction()->toolTip().isEmpty());
        QTest::keyClick(page.table.view(), Qt::Key_Escape);
        QVERIFY(page.model.ticked().isEmpty() && page.table.search()->text().isEmpty());
    }
    // A narrow window takes columns away in their order and never the others; what the user chose comes back.
    void columnsGiveWayAndAreKept()
    {
        {
            Page page;
            const auto seen = [&] {
                QString out;
                for (const char *id : {"name", "size", "note", "acts"})
                    out += page.table.view()->columnVisible(id) ? QString(id) + ' ' : QString();
                return out.trimmed();
            };
            QCOMPARE(seen(), QString("name size note acts"));
            page.table.view()->setFixedWidth(340);
            QCOMPARE(seen(), QString("name size acts"));
            page.table.view()->setFixedWidth(300);
            QCOMPARE(seen(), QString("name acts"));
            QVERIFY(page.table.view()->header()->length() <= page.table.view()->viewport()->width());
            page.table.view()->setFixedWidth(900);
            QCOMPARE(seen(), QString("name size note acts"));
            QScopedPointer<QMenu> menu(page.table.view()->columnMenu(&page.table));
            menu->findChild<QAction *>("note")->trigger();
            page.model.sort(2, Qt::DescendingOrder);
            page.table.view()->header()->resizeSection(2, 140);
            QCOMPARE(seen(), QString("name size acts"));
            QTRY_VERIFY(UserInfo::userValue("Columns", "kit").toString().contains("size:140"));
        }
        Page again;
        QVERIFY(!again.table.view()->columnVisible("note"));
        QCOMPARE(again.model.sortColumn(), 2);
        QCOMPARE(again.table.view()->header()->sectionSize(2), 140);
        UserInfo::setUserValue("Columns", "kit", "sort:nowhere:9;size:x:0;;name:-5:0;acts"); // damaged
        Page damaged;
        QVERIFY(damaged.table.view()->columnVisible("name"));
        UserInfo::setUserValue("Columns", "kit", "");
    }
    void errorLine()
    {
        Page page;
        QSignalSpy again(&page.table, &TablePage::refreshWanted);
        page.table.setError("no link");
        QVERIFY(press(&page.table, "重试"));
        QCOMPARE(again.size(), 1);
    }

    // Where the screen is too low for the body, what gets the focus is scrolled to, from wherever the focus came.
    void dialogFollowsTheFocus()
    {
        QWidget over;
        over.show();
        activate(&over);
        auto *dialog = new DialogFrame("Low", "Low", &over);
        auto *area = dialog->content()->parentWidget()->parentWidget();
        QList<QLineEdit *> fields;
        for (int i = 0; i < 40; ++i) {
            fields << new QLineEdit(dialog);
            dialog->content()->addWidget(fields.last());
        }
        fields.first()->setMinimumWidth(5000); // no screen is that wide: its beginning counts
        QPushButton *close = dialog->addButton("Close", DialogFrame::Close);
        dialog->resize(300, 300);
        dialog->open();
        activate(dialog);
        QTRY_COMPARE(QApplication::activeWindow(), dialog);
        const auto seen = [&](Qt::Key key, QLineEdit *field) {
            close->setFocus();
            QTest::keyClick(close, key);
            return field->hasFocus() && area->rect().contains(QRect(field->mapTo(area, QPoint()), QSize(40, field->height())));
        };
        QVERIFY(seen(Qt::Key_Backtab, fields.last()));
        QVERIFY(seen(Qt::Key_Tab, fields.first()));
        dialog->close();
    }

    void formJudges_data()
    {
        columns<QString, QString, bool>("key", "text", "good");
        addRow("name", "name", "shot", true);
        addRow("no name", "name", "", false);
        addRow("long name", "name", "123456789", false);
        addRow("number", "count", "5", true);
        addRow("beyond", "count", "11", false);
        addRow("word", "count", "five", false);
        addRow("frames", "frames", "1-5", true);
        addRow("no frames", "frames", "1--", false);
        addRow("own rule", "other", "shot", false);
    }
    void formJudges()
    {
        FETCH(QString, key, QString, text, bool, good);
        Form form({Field::text("name", "Name").needed().longest(8), Field::number("count", "Count", 1, 10),
                   Field::frames("frames", "Frames"),
                   Field::text("other", "Other").checked([](const QJsonValue &value, const QJsonObject &all) {
                       return value == all["name"] ? QString("the same") : QString();
                   })});
        form.show();
        activate(&form);
        form.setValues({{"name", "shot"}, {"count", 3}, {"frames", "1-3"}, {"other", "x"}, {"kept", 7}});
        QVERIFY(form.good());
        auto *edit = static_cast<QLineEdit *>(form.editor(key));
        edit->setText(text);
        QCOMPARE(form.why(key).isEmpty(), good);
        QCOMPARE(form.check(), good);
        if (!good)
            QCOMPARE(QApplication::focusWidget(), edit);
        const QJsonObject values = form.values();
        QCOMPARE(values["kept"].toInt(), 7);
        QCOMPARE(values[key].toVariant().toString(), text);
    }
    void formFollows()
    {
        Form form({Field::toggle("on", "On"), Field::choice("pick", "Pick", {{1, "one"}, {2, "two"}}).onlyWhen([](const QJsonObject &all) {
                       return all["on"].toBool();
                   }),
                   Field::frames("frames", "Frames")});
        form.show();
        form.setValues({{"on", 1}, {"pick", "2"}, {"frames", "1-100,250"}}); // servers write numbers as text
        QCOMPARE(form.value("on"), QJsonValue(true));
        QCOMPARE(form.value("pick"), QJsonValue(2));
        QVERIFY(form.editor("pick")->isEnabled());
        form.setChoices("pick", {{2, "zwei"}, {3, "drei"}});
        QCOMPARE(form.choiceText("pick"), QString("zwei"));
        static_cast<QCheckBox *>(form.editor("on"))->setChecked(false);
        QVERIFY(!form.editor("pick")->isEnabled());
        QStringList notes;
        for (auto *label : form.findChildren<QLabel *>("fieldNote"))
            notes << label->text();
        QVERIFY2(notes.last().startsWith("101 帧"), qPrintable(notes.join('|')));
    }

    // Words can be read on every ground: 4.5 to 1 (8 bits a channel, relative luminance).
    void contrast()
    {
        const auto light = [](const QColor &colour) {
            const auto part = [](double v) { return v <= 0.03928 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); };
            return 0.2126 * part(colour.redF()) + 0.7152 * part(colour.greenF()) + 0.0722 * part(colour.blueF()) + 0.05;
        };
        const auto readable = [&](const QColor &words, const QColor &ground) {
            return std::max(light(words), light(ground)) / std::min(light(words), light(ground)) >= 4.5;
        };
        for (Tint tint : {Tint::Plain, Tint::Quiet, Tint::Running, Tint::Done, Tint::Warning, Tint::Failed})
            for (const QColor &ground : {Palette::window, Palette::panel, Palette::raised, Palette::selected})
                QVERIFY2(readable(Palette::of(tint), ground), qPrintable(Palette::of(tint).name() + " on " + ground.name()));
        QFile sheet(QStringLiteral(VN_SOURCE_DIR "/resources/default.qss"));
        QVERIFY(sheet.open(QIODevice::ReadOnly));
        const QRegularExpression rule("([^{}]+)\\{([^{}]*)\\}"), words("(?:^|[ ;])color: (#\\w+)"), ground("background: (#\\w+)");
        int rules = 0;
        for (auto all = rule.globalMatch(Palette::fill(sheet.readAll())); all.hasNext();) {
            const auto one = all.next();
            const auto on = ground.match(one.captured(2)), in = words.match(one.captured(2));
            if (!in.hasMatch() || one.captured(1).contains(":disabled"))
                continue;
            ++rules;
            QVERIFY2(readable(in.captured(1), on.hasMatch() ? on.captured(1) : Palette::window), qPrintable(one.captured()));
        }
        QVERIFY(rules > 20);
    }

    void dialogBelongsToItsWindow()
    {
        BaseWidget window(BaseWidget::Window);
        window.resize(960, 540);
        window.show();
        auto *page = new QWidget(&window);
        auto *dialog = new DialogFrame("long", "Long", page);
        int saved = 0;
        auto *edit = new QLineEdit;
        dialog->content()->addWidget(edit);
        auto *tall = new QWidget;
        tall->setMinimumSize(400, 3000);
        dialog->content()->addWidget(tall);
        dialog->addButton("Save", DialogFrame::Primary, [&] { ++saved; });
        dialog->addButton("Cancel", DialogFrame::Close);
        QPointer<DialogFrame> alive(dialog);
        dialog->open();
        QCOMPARE(dialog->windowHandle()->transientParent(), window.windowHandle());
        QVERIFY(dialog->screen()->availableGeometry().contains(dialog->frameGeometry()));
        QCOMPARE(dialog->focusWidget(), edit);
        QTest::keyClick(edit, Qt::Key_Return);
        QCOMPARE(saved, 1);
        QTest::keyClick(edit, Qt::Key_Escape);
        QTRY_VERIFY(!alive);
    }
    void questionsCanBeSilenced()
    {
        QWidget window;
        window.show();
        int yes = 0;
        Question question;
        question.text = "<b>sure?</b>", question.dontAsk = "kitTest";
        Question::ask(&window, question, [&] { ++yes; });
        QCOMPARE(message(), QString("<b>sure?</b>"));
        topLevel<MsgBox>()->findChild<QCheckBox *>()->setChecked(true);
        QVERIFY(answer("返回") && yes == 0 && !Question::silenced("kitTest")); // only a yes is kept
        Question::ask(&window, question, [&] { ++yes; });
        topLevel<MsgBox>()->findChild<QCheckBox *>()->setChecked(true);
        QVERIFY(answer("确定") && yes == 1);
        Question::ask(&window, question, [&] { ++yes; });
        QVERIFY(yes == 2 && message().isEmpty());
        Question::askAgain("kitTest");
    }
    void toastOffersOnce()
    {
        QWidget window;
        window.resize(600, 400);
        window.show();
        int taken = 0;
        QPointer<Toast> first = Toast::show(&window, "first"), second = Toast::show(&window, "second", "undo", [&] { ++taken; });
        QSignalSpy gone(second.data(), &Toast::gone);
        QTRY_VERIFY(!first);
        QVERIFY(press(second, "undo"));
        QCOMPARE(gone.value(0).value(0).toBool(), true);
        QCOMPARE(taken, 1);
    }
    void commandsEnd()
    {
        BusinessPeer server;
        QVERIFY(server.takeClient());
        server.answer(10500, 1050000, {{"id", 4}});
        server.answer(10501, 1040002);
        server.answer(10505, [](const BusinessPeer::Request &) { return BusinessPeer::Reply{0, {}, true}; });
        QList<ServerCall::Answer> answers;
        const auto keep = [&](const ServerCall::Answer &answer) { answers << answer; };
        QObject guard;
        ServerCall::ask(&guard, 10500, {}, keep);
        ServerCall::ask(&guard, 10501, {}, keep);
        QTRY_COMPARE(answers.size(), 2);
        QVERIFY(answers[0].good() && answers[0].object()["id"].toInt() == 4 && answers[0].text().isEmpty());
        QVERIFY(answers[1].kind == ServerCall::Answer::Refused && answers[1].text().endsWith("(1040002)"));
        ServerCall::ask(&guard, 10505, {}, keep, {}, 30);
        QTRY_COMPARE(answers.size(), 3);
        QVERIFY(answers[2].kind == ServerCall::Answer::Lost && !answers[2].text().isEmpty());
        NetTcp::instance()->setLogin(false);
    }
};

VN_TEST(TestKit)
#include "tst_kit.moc"
