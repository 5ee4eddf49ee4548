/// capture.h: takes what a controller has home: its event log as raw records, its sensors as their description.
#ifndef KESTRUNE_STANDIN_HOST_CAPTURE_H_
#define KESTRUNE_STANDIN_HOST_CAPTURE_H_

#include <string>
#include <vector>

#include "standin/host/controller.h"
#include "standin/host/progress.h"

namespace standin {

/// All records, oldest first. A log that changes meanwhile is read again. Throws Failure.
std::vector<SELRecord> ReadWholeLog(Controller& controller, const Progress& progress);

/// Saves the log as the raw record file `selPath` and the sensors as the file `sensorsPath`, whichever is named. Both
/// are new, unless `overwrite`, and come about when all is read and written. Throws Failure.
void SaveCapture(Controller& controller, const std::optional<std::string>& selPath,
                 const std::optional<std::string>& sensorsPath, bool overwrite, const Progress& progress);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_HOST_CAPTURE_H_
