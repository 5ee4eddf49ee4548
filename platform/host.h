/// host.h: what the host agent exports to its modules. The names are resolved from the host process when the module is
/// loaded.
#ifndef KESTRUNE_PLATFORM_HOST_H_
#define KESTRUNE_PLATFORM_HOST_H_

/// Levels of Output.
enum { OUTPUT_ERROR = 256, OUTPUT_WARNING = 512, OUTPUT_DEBUG = 2048 };

extern "C" {

/// Takes one message for the host's log, formatted as printf does. May be called from any thread.
void Output(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// Greater than 0 when the host supports this operating system.
int GeneralOSSupportChecking(void);

/// The code of the running distribution.
int GetOSDist(void);

}  // extern "C"

#endif  // KESTRUNE_PLATFORM_HOST_H_
