#pragma once
// Whether the client starts with the session: the machine's Run key, changed by an elevated helper, or a desktop entry
// of the user. Both functions wait for the system: never on the window's thread.
namespace AutoStart
{
bool on();
bool set(bool on); // false: the user or the system refused (logged)
} // namespace AutoStart
