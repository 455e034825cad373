#include "resolve/TerragenResolve.h"
#include "common/facts/AnalysisError.h"
#include "resolve/LogParser.h"
#include "resolve/TerragenScene.h"
#include <QDebug>

void TerragenResolve::resolve()
{
    const auto read = [path = sceneFile, log = logFile](const StopToken &stop) {
        const TerragenScene scene = TerragenScene::read(path, stop);
        qDebug().noquote() << "TerragenResolve::resolve" << path << scene.cameras.size() << "cameras"
                           << scene.files.size() << "files" << scene.missing.size() << "missing";
        if (scene.error != 0 || stop.stopped())
            return scene.error;
        return LogParser::write(log, scene.result(), false) ? 0 : AnalysisError::WriteError;
    };
    onDisk(read, [this] { finishResolve(); });
}
