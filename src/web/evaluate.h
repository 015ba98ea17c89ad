#pragma once

/// Called when the tables of boards and evaluation are filled: from then on positions can be
/// evaluated, from one thread at a time, whether a search runs or not.
void allowEvaluations();
