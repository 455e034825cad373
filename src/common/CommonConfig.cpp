#include "common/CommonConfig.h"
#include <mutex>

namespace
{
constexpr int noBlocks = -4; // the server's own number for "not said"

std::mutex &guard()
{
    static std::mutex mutex;
    return mutex;
}

CommonConfig &record()
{
    static CommonConfig *one = new CommonConfig;
    return *one;
}

CommonConfig read(const QJsonObject &object)
{
    CommonConfig config;
    const auto number = [&](const char *key, int fallback = 0) {
        const QJsonValue value = object[QLatin1String(key)];
        return value.isString() ? value.toString().toInt()
               : value.isBool() ? int(value.toBool())
                                : value.toInt(fallback);
    };
    config.autoSubmit = number("autoSubmit");
    config.autoPushResult = number("autoPushResult");
    config.ignoreWarn = number("ignoreWarn");
    config.frameFirst = number("frameFirst");
    config.timeout = number("timeout");
    config.killTimeout = number("killTimeout");
    config.parseTime = number("parseTime");
    config.killParseTime = number("killParseTime");
    config.mayaResultRootPathEnum = number("mayaResultRootPathEnum");
    config.repairType = number("repairType");
    config.mayaSplitByLayer = number("mayaSplitByLayer");
    config.submitUpload = number("submitUpload");
    config.priorityStrategy = number("priorityStrategy");
    config.submitConfig = number("submitConfig");
    config.blocksCount = number("blocksCount", noBlocks);
    config.projectName = object[QLatin1String("projectName")].toString();
    config.machineType = object[QLatin1String("machineType")].toString();
    config.raw = object;
    return config;
}
} // namespace

CommonConfig CommonConfig::get()
{
    std::lock_guard<std::mutex> lock(guard());
    return record();
}

void CommonConfig::fromJson(const QJsonObject &object)
{
    const CommonConfig fresh = read(object);
    std::lock_guard<std::mutex> lock(guard());
    record() = fresh;
}

void CommonConfig::overlay(const QJsonObject &saved)
{
    std::lock_guard<std::mutex> lock(guard());
    QJsonObject whole = record().raw;
    for (auto it = saved.begin(); it != saved.end(); ++it)
        whole[it.key()] = it.value();
    record() = read(whole);
}

void CommonConfig::clear()
{
    std::lock_guard<std::mutex> lock(guard());
    record() = CommonConfig();
}

QJsonObject CommonConfig::saveBody() const
{
    return {{QStringLiteral("autoSubmit"), autoSubmit},
            {QStringLiteral("ignoreWarn"), ignoreWarn},
            {QStringLiteral("frameFirst"), frameFirst},
            {QStringLiteral("timeout"), timeout},
            {QStringLiteral("killTimeout"), killTimeout},
            {QStringLiteral("parseTime"), parseTime},
            {QStringLiteral("killParseTime"), killParseTime},
            {QStringLiteral("autoPushResult"), autoPushResult},
            {QStringLiteral("mayaResultRootPathEnum"), mayaResultRootPathEnum},
            {QStringLiteral("repairType"), repairType},
            {QStringLiteral("mayaSplitByLayer"), mayaSplitByLayer},
            {QStringLiteral("submitUpload"), submitUpload},
            {QStringLiteral("priorityStrategy"), priorityStrategy},
            {QStringLiteral("blocksCount"), blocksCount}};
}
