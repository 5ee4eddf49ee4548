/// shell.h: the one way in which the module runs a command. Command lines are short by design: what does not fit into
/// SHELL_LINE_SIZE bytes is not run.
#ifndef KESTRUNE_PLATFORM_SHELL_H_
#define KESTRUNE_PLATFORM_SHELL_H_

#include <cstddef>
#include <cstdint>

/// Bytes of a command line with its NUL; also the size of every file-name buffer.
inline constexpr size_t SHELL_LINE_SIZE = 256;

/// Whether the command line that printf would make of the arguments fits.
bool CommandFits(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Formats a command line and runs it with the shell. Its exit status is not looked at: what matters is the file that
/// it leaves.
void RunCommand(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Runs a command and reads the number that it prints; 0 when it cannot be run or prints none.
uint64_t ReadNumber(const char* format, ...) __attribute__((format(printf, 1, 2)));

#endif  // KESTRUNE_PLATFORM_SHELL_H_
