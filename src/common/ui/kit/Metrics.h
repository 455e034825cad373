#pragma once
// The measures that every window keeps to, in logical pixels: a grid of 8, one height for rows and one for controls.
namespace Metrics
{
inline constexpr int Grid = 8;
inline constexpr int Gap = Grid; // between two controls
inline constexpr int Row = 36;   // of a list
inline constexpr int Head = 32;  // of a list's head
inline constexpr int Control = 28;
inline constexpr int Margin = 16; // of a page
inline constexpr int Inset = 24;  // of a dialog
inline constexpr int Icon = 16;
inline constexpr int LeastWidth = 960, LeastHeight = 540; // of a screen on which everything can be reached
} // namespace Metrics
