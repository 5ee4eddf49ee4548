/// seldump.h: the controller's whole event log on standard output, for diagnosis.
#ifndef KESTRUNE_SEL_SELDUMP_H_
#define KESTRUNE_SEL_SELDUMP_H_

/// Walks the controller's log from its first entry, for as many entries as it announces (SEL_ENTRIES_MAX at most), and
/// prints each with its raw bytes and its description. Leaves the SEL cache alone. The caller holds the module lock.
void DumpControllerLog();

#endif  // KESTRUNE_SEL_SELDUMP_H_
