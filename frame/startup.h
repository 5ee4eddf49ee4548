/// startup.h: start and stop of the module's data. Finds out which logs the machine has and tells the catalogue.
#ifndef KESTRUNE_FRAME_STARTUP_H_
#define KESTRUNE_FRAME_STARTUP_H_

/// Asks the host whether this system is supported; 1 or 0. On one distribution it also removes LC_TIME and LC_CTYPE
/// from the environment, without which the month sort of the log filter fails there. Called without the module lock.
int IsOSSupported();

/// Removes temporary files that killed processes have left. The caller holds the lock between processes.
void RemoveLeftFiles();

/// Starts the SEL store, lists the application logs and builds the catalogue. Returns 1. Throws std::bad_alloc before
/// it has started anything.
int OnInitData();

/// Empties the catalogue, stops the SEL store and removes the merged log and the filter cache, if they are this
/// process's own. Returns what the last removal answered.
int OnUninitData();

#endif  // KESTRUNE_FRAME_STARTUP_H_
