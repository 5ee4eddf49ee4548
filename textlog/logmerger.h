/// logmerger.h: merges several logs into one file, which is rebuilt only when one of them has changed.
#ifndef KESTRUNE_TEXTLOG_LOGMERGER_H_
#define KESTRUNE_TEXTLOG_LOGMERGER_H_

/// Writes the files of `fileList` that exist, one after the other, into `target`, unless none of them got a newer
/// modification time than any seen so far and the target is still there as this function made it. `fileList` (names
/// separated by single blanks, at most 255 characters) is cut after its first name by a merge. Names that do not fit a
/// command line are refused with nothing touched. Returns 0.
int LogMerger(char* fileList, const char* target);

/// Whether `path` is the last target's name, and what stands there is not what LogMerger has made.
bool IsForeignMergedLog(const char* path);

/// Removes the last target, if it is still what LogMerger has made.
void RemoveMergedLog();

#endif  // KESTRUNE_TEXTLOG_LOGMERGER_H_
