#pragma once

/// Fills the tables that boards and evaluation need. Called once.
void initTables();

/// Fills every global table, in the order in which they need each other, and takes memory for the
/// transposition table. Called once, before anything else.
void initEngine();
