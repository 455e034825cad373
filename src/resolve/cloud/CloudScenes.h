#pragma once
// What pages and the local API do with scenes on a drive beside the queue: rows of them, and what is submitted. The
// store is written by whoever calls; any thread, no window, no network.
#include "common/CommonConfig.h"
#include "db/Records.h"
#include "resolve/ParameterSheet.h"

namespace CloudScenes
{
// A row for a scene ("D/project/scenes/a.ma", from its disk on); root: of its project there, empty: the scene's folder.
// filetype 0: a kind that the service doesn't know.
db_resolve row(int farmId, const QString &scene, const QString &root);
// Analysed, and good enough to be rendered.
bool canSubmit(const db_resolve &res);
// The row (as CloudModel::opened gives it) with what was edited and what was chosen for it, ready to be committed.
// False, with a text: it can't be.
bool prepare(db_resolve *res, const ParameterSheet &sheet, const QString &rset, const CommonConfig &config,
             QString *message);
} // namespace CloudScenes
