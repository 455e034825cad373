#include "view/set/AutoStart.h"
#include "common/platform/Platform.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include <QCoreApplication>
#include <QDebug>

bool AutoStart::on() { return !VFunc::autoStart(UserInfo::thirdGroup()).isEmpty(); }

bool AutoStart::set(bool on)
{
    const QString name = UserInfo::thirdGroup(), program = QCoreApplication::applicationFilePath();
    const QString command = program + QStringLiteral(" delay"); // after what the session itself starts
    bool done = false;
    if (platform::isWindows()) {
        const QString words = on ? QStringLiteral("runReg set %1 \"%2\"").arg(name, command)
                                 : QStringLiteral("runReg remove %1").arg(name);
        done = VFunc::runAs(program, words) == 1 && AutoStart::on() == on;
    } else {
        done = on ? VFunc::autoStartSet(name, command) : VFunc::autoStartRemove(name);
    }
    if (!done)
        qWarning().noquote() << "autorun reg write error" << on;
    return done;
}
