#include "resolve/TerragenResolve.h"
#include "resolve/LogParser.h"
#include "resolve/TerragenScene.h"
#include <QDebug>

void TerragenResolve::resolve()
{
    constexpr int WriteFailed = 10004;
    const TerragenScene scene = TerragenScene::read(sceneFile);
    qDebug().noquote() << "TerragenResolve::resolve" << sceneFile << scene.cameras.size() << "cameras"
                       << scene.files.size() << "files" << scene.missing.size() << "missing";
    if (scene.error != 0)
        return setError(scene.error);
    if (!LogParser::write(logFile, scene.result(), false))
        return setError(WriteFailed);
    finishResolve();
}
