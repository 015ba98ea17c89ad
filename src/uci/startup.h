#pragma once

/// Fills every global table, in the order in which they need each other, and takes memory for the
/// transposition table. Called once, before anything else.
void initEngine();
