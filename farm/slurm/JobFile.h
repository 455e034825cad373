#pragma once
// What the nodes of a cluster are told: a file in the shared folder with a line a frame, and how one line of it is
// rendered, by the same program on any node. Plain functions.
#include "slurm/ClusterText.h"
#include "tasks/RenderWork.h"
#include <memory>
#include <QJsonObject>

namespace farm
{

QJsonObject workObject(const RenderWork &work);
std::unique_ptr<RenderWork> workOf(const QJsonObject &object);
// False where the file can't be written whole.
bool writeJobFile(const QString &file, const QList<std::shared_ptr<RenderWork>> &works);
// Renders the line at that place, from 0, and leaves behind how it ended. What the process ends with: 0 the frame is
// there, 1 it failed, 2 no such line.
int renderFromJobFile(const QString &file, int place);
// What it left behind, beside the file of frames; false: nothing that can be read, the node died with it.
bool readEndFile(const QString &file, int place, EndLine *end);
void removeEndFiles(const QString &file);

} // namespace farm
