// The log of the simulated array: one line a message.
#pragma once

#include <string>
#include <string_view>

namespace qbxsim
{

enum LogLevel
{
    LogFailure = 2,
    LogNotice = 3,
    LogRejected = 3
};

/// Writes one line with local time, level, thread and the message to the file QBX_LOG_FILE, or to
/// standard error. Messages above QBX_LOG_LEVEL (default 3) are left out. Trailing newlines of the
/// message end the line; newlines and control characters inside are written as escapes, so that one
/// message is always one line.
void writeLog(int level, std::string_view message);

/// False for messages of a level that is left out.
bool isLogged(int level);

/// Reads QBX_LOG_FILE and QBX_LOG_LEVEL anew at the next message.
void resetLog();

/// True when misuse of the API ends the process: QBX_SIM_STRICT=1, or a debug build without
/// QBX_SIM_STRICT=0.
bool isStrict();

/// Logs a misuse of the API by its caller; in strict mode also on standard error, and aborts.
void reportMisuse(const std::string& what);

}  // namespace qbxsim
