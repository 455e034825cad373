#pragma once
// One command: asks the client and tells the answer. Returns how the program ends.
#include "Client.h"
#include "Show.h"
#include "Words.h"

Exit run(const Words &words, Client *client, Show *show);
