#include "common/RunMode.h"
#include <QRegularExpression>

namespace
{
// Everything that main understands as a switch, so that none of it is taken for free text.
const char *const switches[] = {"delay",      "win7",      "c4dcopy",     "maxcopy",   "unitycopy",
                                "runReg",     "netshadd",  "netshdelete", "-resolve",  "slave",
                                "slaveAlone", "notupdate", "-silent",     "noresolve", "nofile"};

RunMode::Kind kindOf(const QString &word)
{
    if (word == QLatin1String("win7"))
        return RunMode::Win7;
    if (word == QLatin1String("c4dcopy") || word == QLatin1String("maxcopy") || word == QLatin1String("unitycopy"))
        return RunMode::CopyFiles;
    if (word == QLatin1String("runReg"))
        return RunMode::RunReg;
    if (word == QLatin1String("netshadd"))
        return RunMode::NetshAdd;
    if (word == QLatin1String("netshdelete"))
        return RunMode::NetshDelete;
    return word == QLatin1String("-resolve") ? RunMode::ResolveTest : RunMode::Normal;
}

bool isSwitch(const QString &word)
{
    for (const char *one : switches) {
        if (word == QLatin1String(one))
            return true;
    }
    return false;
}

bool isLink(const QString &word) { return word.startsWith(QLatin1String("vandrel:"), Qt::CaseInsensitive); }

bool isVersion(const QString &text)
{
    static const QRegularExpression four(QStringLiteral("\\A\\d{1,5}(\\.\\d{1,5}){3}\\z"));
    return four.match(text).hasMatch();
}
} // namespace

QStringList RunMode::toolModes()
{
    return {QStringLiteral("win7"),     QStringLiteral("c4dcopy"),     QStringLiteral("runReg"),
            QStringLiteral("netshadd"), QStringLiteral("netshdelete"), QStringLiteral("-resolve")};
}

QStringList RunMode::trusted(const QStringList &args)
{
    return isLink(args.value(1)) ? QStringList(args.mid(0, 2)) : args;
}

RunMode RunMode::of(const QStringList &args)
{
    RunMode mode;
    mode.word = args.value(1);
    mode.bare = mode.word.isEmpty();
    if (isLink(mode.word))
        mode.link = mode.word;
    mode.kind = kindOf(mode.word);
    mode.delay = mode.word == QLatin1String("delay");
    mode.checkInstance = !args.contains(QStringLiteral("slave")) && !toolModes().contains(mode.word);
    mode.skipUpdate = args.contains(QStringLiteral("notupdate"));
    mode.silent = args.contains(QStringLiteral("-silent"));
    mode.updateWord = softwareUpdateWord(args);
    return mode;
}

QString RunMode::softwareUpdateWord(const QStringList &args)
{
    const QString word = args.value(2);
    return word.isEmpty() || isSwitch(word) ? QStringLiteral("prod") : word;
}

// The answer ends up in the words of an elevated program, so nothing but digits and dots passes.
bool RunMode::updateWanted(const QString &answer, const QString &running)
{
    return isVersion(answer.trimmed()) && answer.trimmed() != running;
}

QString RunMode::updateParameter(const QString &version, bool slave, const QString &masterHost, int masterPort)
{
    if (!slave)
        return version.trimmed();
    return QStringLiteral("\"-version %1\" \"-proxy %2 %3\"")
        .arg(version.trimmed(), masterHost, QString::number(masterPort));
}
