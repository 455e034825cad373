// What no compiler checks: every text has its English, every icon and colour that is named exists.
#include "common/ui/Palette.h"
#include "support/TestMain.h"
#include <QDirIterator>
#include <QDomDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTranslator>

namespace
{
QString content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}
const QString root = QStringLiteral(VN_SOURCE_DIR);

// context, source -> translation; carriage returns stand as elements of their own.
QString flat(const QDomElement &element)
{
    QString text;
    for (QDomNode node = element.firstChild(); !node.isNull(); node = node.nextSibling()) {
        if (node.isText())
            text += node.nodeValue();
        else if (node.toElement().tagName() == "byte")
            text += QChar(node.toElement().attribute("value").mid(1).toInt(nullptr, 16));
    }
    return text;
}
QMap<QString, QString> messages(const QString &path, QStringList *unfinished = nullptr)
{
    QMap<QString, QString> out;
    QDomDocument doc;
    doc.setContent(content(path));
    const QDomNodeList list = doc.elementsByTagName("message");
    for (int i = 0; i < list.size(); ++i) {
        const QDomElement message = list.at(i).toElement();
        const QString key = message.parentNode().firstChildElement("name").text() + '|' + flat(message.firstChildElement("source"));
        const QDomElement translation = message.firstChildElement("translation");
        out.insert(key, flat(translation));
        if (unfinished && (translation.hasAttribute("type") || flat(translation).isEmpty()))
            *unfinished << key;
    }
    return out;
}
QStringList sources(const QStringList &folders)
{
    QStringList files;
    for (const QString &folder : folders)
        for (QDirIterator it(root + folder, {"*.cpp", "*.h"}, QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
            files << it.next();
    return files;
}
} // namespace

class TestTexts : public QObject
{
    Q_OBJECT
private slots:
    void everyTextHasItsEnglish()
    {
        QStringList unfinished;
        const auto english = messages(root + "/translations/zh_en.ts", &unfinished);
        QVERIFY(english.size() > 300);
        QVERIFY2(unfinished.isEmpty(), qPrintable(unfinished.join('\n')));
        QString lupdate = QStandardPaths::findExecutable("lupdate");
        if (lupdate.isEmpty())
            lupdate = QStandardPaths::findExecutable("lupdate", {"/usr/lib/qt5/bin", "/usr/lib/x86_64-linux-gnu/qt5/bin"});
        if (lupdate.isEmpty())
            QSKIP("lupdate isn't installed");
        QTemporaryDir folder;
        const QString found = folder.filePath("found.ts");
        QProcess process;
        process.start(lupdate, {"-no-obsolete", "-locations", "none", "-source-language", "zh_CN", "-target-language", "en_US",
                                root + "/src", "-ts", found});
        QVERIFY(process.waitForFinished(60000));
        QStringList missing, unused = english.keys();
        const auto wanted = messages(found);
        QVERIFY(!wanted.isEmpty());
        for (auto it = wanted.begin(); it != wanted.end(); ++it) {
            unused.removeAll(it.key());
            if (!english.contains(it.key()))
                missing << it.key();
        }
        QVERIFY2(missing.isEmpty(), qPrintable("no English for\n" + missing.join('\n')));
        QVERIFY2(unused.isEmpty(), qPrintable("no longer said\n" + unused.join('\n')));
    }
    void placeholdersAgree()
    {
        const QRegularExpression place("%\\d"), chinese("[\\x{4e00}-\\x{9fff}]");
        const auto english = messages(root + "/translations/zh_en.ts");
        for (auto it = english.begin(); it != english.end(); ++it) {
            QStringList here, there;
            for (auto match = place.globalMatch(it.key()); match.hasNext();)
                here << match.next().captured();
            for (auto match = place.globalMatch(it.value()); match.hasNext();)
                there << match.next().captured();
            here.sort();
            there.sort();
            QVERIFY2(here == there, qPrintable(it.key()));
            QVERIFY2(it.key().count('\n') == it.value().count('\n'), qPrintable(it.key()));
            QVERIFY2(!it.value().contains(chinese), qPrintable(it.key()));
        }
    }
    // A text of the source that reaches the screen without tr() stays Chinese for everyone.
    void noBareTextsInWindows()
    {
        const QRegularExpression bare("(?:setText|setToolTip|setTitle|setWindowTitle|msgOk|addAction)\\((?:this, "
                                      ")?(?:QStringLiteral\\()?\"[^\"]*[\\x{4e00}-\\x{9fff}]");
        for (const QString &file : sources({"/src/view", "/src/common/ui"}))
            QVERIFY2(!content(file).contains(bare), qPrintable(file));
    }

    void iconsExist()
    {
        const QString qrc = content(root + "/resources/vandrel.qrc");
        const QRegularExpression listed("<file>([^<]+)</file>");
        QSet<QString> files;
        for (auto match = listed.globalMatch(qrc); match.hasNext();)
            files.insert(match.next().captured(1));
        for (const QString &file : files)
            QVERIFY2(QFile::exists(root + "/resources/" + file), qPrintable(file));
        for (const QString &name : QDir(root + "/resources/icons").entryList({"*.svg"}, QDir::Files))
            QVERIFY2(files.contains("icons/" + name), qPrintable(name));
        const QRegularExpression named("IconTool::(?:icon|pixmap)\\([^;]*?QStringLiteral\\(\"([\\w-]+)\"\\)");
        int seen = 0;
        for (const QString &file : sources({"/src/view", "/src/common/ui"})) {
            const QString text = content(file);
            for (auto match = named.globalMatch(text); match.hasNext(); ++seen) {
                const QString icon = match.next().captured(1);
                QVERIFY2(files.contains("icons/" + icon + ".svg"), qPrintable(file + ": " + icon));
            }
        }
        QVERIFY(seen > 10);
    }
    void coloursAreNamed()
    {
        const QString filled = Palette::fill(content(root + "/resources/default.qss"));
        QVERIFY(!filled.isEmpty());
        QVERIFY2(!filled.contains('@'), "a colour of the style sheet has no value");
        // Widgets set no colours of their own in code.
        const QRegularExpression own("QColor\\(\\d|QColor\\{0x|setStyleSheet\\(QStringLiteral\\(\"[^\"]*#");
        for (const QString &file : sources({"/src/view", "/src/common/ui"}))
            if (!file.endsWith("/Palette.h"))
                QVERIFY2(!content(file).contains(own), qPrintable(file));
    }
};

VN_TEST(TestTexts)
#include "tst_texts.moc"
