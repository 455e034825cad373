#include "Words.h"

namespace
{
struct Option {
    const char *name, *value, *about; // no value: a flag
};
struct Command {
    const char *name, *values, *about;
    QList<Option> options;
    int least, most; // values; most -1: any number
};

const QList<Option> common{
    {"url", "URL", "the client's address; else $VANDREL_URL, else this user's client on this machine"},
    {"token", "TEXT", "for a client on another machine; else $VANDREL_TOKEN"},
    {"json", nullptr, "JSON also on a terminal; into a pipe it's always JSON, one document a line"},
    {"help", nullptr, "this text"},
};

const QList<Command> &commands()
{
    static const QList<Command> all{
        {"submit",
         "SCENE...",
         "hand scenes over for analysis and rendering",
         {{"project", "NAME|ID", "the project; needed where there are several"},
          {"software", "NAME", "the environment, as maya2022; else the project's first for this kind of scene"},
          {"machine", "NAME|ID", "the machine; else the project's first"},
          {"maya-project", "DIR", "the Maya project; else the folder of the nearest workspace.mel above"},
          {"wait", nullptr, "commit, and wait until the frames are rendered and down"},
          {"accept-warnings", nullptr, "with --wait: commit also what was analysed with warnings"},
          {"timeout", "SECONDS", "with --wait: give up then; the client goes on"}},
         1,
         -1},
        {"commit", "ORDER...", "commit analysed scenes", {}, 1, -1},
        {"list", "", "the scenes in the client and the tasks on the farm", {}, 0, 0},
        {"follow", "TASK", "progress of a task until it has ended", {{"timeout", "SECONDS", "give up then"}}, 1, 1},
        {"frames", "TASK", "the frames of a task", {}, 1, 1},
        {"log",
         "[TASK FRAME-ID]",
         "the client's own log of today, or a frame's",
         {{"f", nullptr, "go on as it grows (also -f)"}},
         0,
         2},
        {"transfer",
         "[pause|continue]",
         "what is being uploaded and downloaded; hold it, let it go on",
         {{"order", "ORDER,...", "the uploads"}, {"id", "ID,...", "the downloads"}},
         0,
         1},
        {"drive",
         "ls|put|get|check|status|resolve|scenes|order|again|stop [...]",
         "the farm's drive: ls [PATH], put FILE... PATH, get PATH FOLDER, check PATH FOLDER, status [ID]; "
         "scenes on it: resolve PATH..., scenes, order KEY..., again KEY..., stop KEY...",
         {{"farm", "ID", "the farm; else the first"},
          {"results", nullptr, "the tree of results instead of the project files"},
          {"existing", "ask|same|overwrite|both", "get: files that exist; else ask, and the client's window answers"},
          {"links", nullptr, "put: links that lead out of the folders are followed"},
          {"mend", "put|get", "check: what differs is sent, or fetched over what is here"},
          {"act", "pause|continue|delete", "status ID: hold it, let it go on, forget it"},
          {"root", "PATH", "resolve: the project's folder on the drive; else the scene's"},
          {"project", "NAME|ID", "order: as of submit"},
          {"software", "NAME", "order: as of submit"},
          {"machine", "NAME|ID", "order: as of submit"},
          {"wait", nullptr, "resolve: until the farm has analysed; order: until the frames are down"},
          {"timeout", "SECONDS", "with --wait: give up then; the client goes on"}},
         1,
         -1},
        {"pause", "TASK...", "pause tasks", {{"later", nullptr, "finish the frames that render now"}}, 1, -1},
        {"continue", "TASK...", "let them go on", {}, 1, -1},
        {"cancel", "TASK...", "cancel tasks", {}, 1, -1},
        {"rerender", "TASK...", "render the failed frames once more", {}, 1, -1},
        {"download", "TASK...", "download the results", {}, 1, -1},
        {"call", "ROUTE [KEY=VALUE...]", "any route of the API", {{"body", "JSON|@FILE", "what to send"}}, 1, -1},
        {"describe", "", "the API as OpenAPI 3", {{"markdown", nullptr, "as the table of the README"}}, 0, 0},
        {"completion", "", "for bash: source <(vandrelctl completion)", {}, 0, 0},
    };
    return all;
}

const Command *find(const QString &name)
{
    for (const Command &command : commands())
        if (name == QLatin1String(command.name))
            return &command;
    return nullptr;
}

const Option *find(const Command *command, const QString &name)
{
    for (const QList<Option> *list : {command ? &command->options : &common, &common})
        for (const Option &option : *list)
            if (name == QLatin1String(option.name))
                return &option;
    return nullptr;
}

QString line(const QString &left, const char *right)
{
    return QStringLiteral("  %1 %2\n").arg(left, -30).arg(QString::fromLatin1(right));
}

QString words(const Option &option)
{
    return QStringLiteral("--%1").arg(option.name) + (option.value ? QStringLiteral(" ") + option.value : QString());
}
} // namespace

Words Words::of(const QStringList &arguments)
{
    Words out;
    const Command *command = nullptr;
    bool plain = false; // behind "--"
    for (int i = 0; i < arguments.size() && out.wrong.isEmpty(); ++i) {
        QString word = arguments[i];
        if (word == QLatin1String("-f") || word == QLatin1String("-h"))
            word = word == QLatin1String("-f") ? QStringLiteral("--f") : QStringLiteral("--help");
        if (!plain && word == QLatin1String("--")) {
            plain = true;
        } else if (!plain && word.startsWith(QLatin1String("--"))) {
            const int equals = word.indexOf('=');
            const QString name = word.mid(2, equals < 0 ? -1 : equals - 2);
            const Option *option = find(command, name);
            if (!option)
                out.wrong = QStringLiteral("no such option here: --%1").arg(name);
            else if (!option->value && equals >= 0)
                out.wrong = QStringLiteral("--%1 takes no value").arg(name);
            else if (option->value && equals < 0 && i + 1 == arguments.size())
                out.wrong = QStringLiteral("--%1 needs a value: %2").arg(name, option->value);
            else
                out.options[name] = !option->value ? QString() : equals < 0 ? arguments[++i] : word.mid(equals + 1);
        } else if (!command) {
            command = find(word);
            out.command = word;
            if (!command)
                out.wrong = QStringLiteral("no such command: %1").arg(word);
        } else {
            out.values << word;
        }
    }
    if (!out.wrong.isEmpty() || out.has(QStringLiteral("help")))
        return out;
    if (!command)
        out.wrong = QStringLiteral("no command");
    else if (out.values.size() < command->least || (command->most >= 0 && out.values.size() > command->most))
        out.wrong = QStringLiteral("usage: vandrelctl %1 %2").arg(command->name, command->values);
    return out;
}

QString Words::help()
{
    QString text = QStringLiteral("vandrelctl COMMAND [WORDS]: drives the VandrelQN client over its local API\n\n");
    for (const Command &command : commands()) {
        text += line(QStringLiteral("%1 %2").arg(command.name, command.values), command.about);
        for (const Option &option : command.options)
            text += line(QStringLiteral("  ") + words(option), option.about);
    }
    text += QStringLiteral("\nWith every command:\n");
    for (const Option &option : common)
        text += line(words(option), option.about);
    return text +
           QStringLiteral(
               "\nIt ends with 0 good, 1 refused by client or server, 2 words not understood, 3 no client "
               "answers,\n4 analysis, upload or rendering failed, or what was compared differs, 5 time is over.\n");
}

QString Words::completion()
{
    QStringList names, cases;
    QString always;
    for (const Option &option : common)
        always += QStringLiteral(" --%1").arg(option.name);
    for (const Command &command : commands()) {
        names << command.name;
        QString offered = always;
        for (const Option &option : command.options)
            offered += QStringLiteral(" --%1").arg(option.name);
        if (command.name == QLatin1String("transfer"))
            offered += QStringLiteral(" pause continue");
        cases << QStringLiteral("        %1) words=\"%2\" ;;").arg(command.name, offered.trimmed());
    }
    return QStringLiteral(R"(_vandrelctl() {
    local word=${COMP_WORDS[COMP_CWORD]} words="%1"
    [ "$COMP_CWORD" -gt 1 ] && case ${COMP_WORDS[1]} in
%2
    esac
    COMPREPLY=($(compgen -W "$words" -- "$word"))
    [ ${#COMPREPLY[@]} -eq 0 ] && compopt -o default 2>/dev/null
}
complete -F _vandrelctl vandrelctl
)")
        .arg(names.join(' '), cases.join('\n'));
}
