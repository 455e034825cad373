#pragma once
// Rows of one page, where a list comes in pages.
namespace PageSize
{
constexpr int Scenes = 30;
constexpr int Files = 30; // of one order, of one mission
constexpr int Missions = 30;
constexpr int Finished = 30; // orders and missions that are over
constexpr int Jobs = 20;     // of the local API's list of tasks
} // namespace PageSize
