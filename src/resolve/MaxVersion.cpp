#include "resolve/MaxVersion.h"
#include "common/facts/AnalysisError.h"
#include "common/VFunc.h"
#include <QDebug>
#include <QFile>

namespace
{
constexpr qint64 Early = 0x3000, Late = 0x5000;
constexpr int AnyStamp = 0x1F; // passes up to 2014
constexpr int LowestNegative = 0x80;

struct Rule {
    int year, highest;
    bool early, late;
};
constexpr Rule rules[] = {{2010, 0x12, true, false}, {2011, 0x13, true, false}, {2012, 0x14, true, true},
                          {2013, 0x17, false, true}, {2014, 0x19, false, true}, {2015, 0x20, false, true},
                          {2016, 0x21, false, true}, {2017, 0x22, false, true}, {2018, 0x23, false, true},
                          {2019, 0x24, false, true}, {2020, 0x25, false, true}};

// As a signed byte: what would be negative never passes.
bool passes(const Rule &rule, int stamp)
{
    if (stamp < 0 || stamp >= LowestNegative)
        return false;
    return stamp <= rule.highest || (rule.year <= 2014 && stamp == AnyStamp);
}
} // namespace

int MaxVersion::getByteInFile(const QString &path, qint64 offset)
{
    QFile file(path);
    if (!VFunc::openRegular(&file))
        return NotOpened;
    char byte = 0;
    if (!file.seek(offset) || !file.getChar(&byte)) {
        qWarning().noquote() << "MaxVersion::getByteInFile" << path << "nothing at" << offset << "of" << file.size();
        return NotRead;
    }
    return static_cast<unsigned char>(byte);
}

QString MaxVersion::isVersionMatched(const QString &year, const QString &path)
{
    int stamp = UnknownYear;
    for (const Rule &rule : rules) {
        if (QString::number(rule.year) != year)
            continue;
        for (const bool early : {true, false}) {
            if (!(early ? rule.early : rule.late))
                continue;
            stamp = getByteInFile(path, early ? Early : Late);
            if (passes(rule, stamp))
                return QStringLiteral("matched");
        }
    }
    qWarning().noquote() << "MaxVersion::isVersionMatched max verInfo error:" << stamp << year << path;
    switch (stamp) {
    case UnknownYear:
        return QString::number(AnalysisError::VersionUnsupported);
    case NotRead:
        return QString::number(AnalysisError::BadScene);
    case NotOpened:
        return QString::number(AnalysisError::SceneUnreadable);
    default:
        return QString::number(AnalysisError::VersionDiffers);
    }
}
