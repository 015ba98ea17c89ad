#pragma once

#include <functional>

/// Fills the tables that boards and evaluation need. Called once.
void initTables();

/// Fills every global table, in the order in which they need each other, and takes memory for the
/// transposition table. Called once, before anything else.
void initEngine();

/// Runs `work` on an engine begun by `initEngine`. Returns what it returns, or 1 if the machine
/// does not give what they need at the start: that cannot be made up for, only told.
int runEngine(const std::function<int()>& work);
