#pragma once
// The exact form of each request to a drive and to its analysis: keys of the query in their order, keys of the body and
// their kinds, the range. Pure.
#include <QString>

namespace farm
{

struct HttpRequest;

namespace DriveForms
{
// What of the request isn't as it is told; empty: nothing. path: below the drive's base.
QString departure(const HttpRequest &request, const QString &path);
} // namespace DriveForms

} // namespace farm
