/// capture.h: takes what a controller has home: its event log as raw records, its sensors as their description.
#ifndef KESTRUNE_STANDIN_CAPTURE_H_
#define KESTRUNE_STANDIN_CAPTURE_H_

#include <string>
#include <vector>

#include "standin/controller.h"
#include "standin/progress.h"

namespace standin {

/// All records, oldest first. A log that changes meanwhile is read again. Throws Failure.
std::vector<SELRecord> ReadWholeLog(Controller& controller, const Progress& progress);

/// Saves the log as the raw record file `sel_path` and the sensors as the file `sensors_path`, whichever is named. Both
/// are new, unless `overwrite`, and come about when all is read and written. Throws Failure.
void SaveCapture(Controller& controller, const std::optional<std::string>& sel_path,
                 const std::optional<std::string>& sensors_path, bool overwrite, const Progress& progress);

}  // namespace standin

#endif  // KESTRUNE_STANDIN_CAPTURE_H_
