#include "Log.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>

namespace qbxsim
{
namespace
{

constexpr int defaultLevel = LogRejected;

struct Sink
{
    bool open = false;
    int file = STDERR_FILENO;
    int level = defaultLevel;
};

std::mutex sinkMutex;
Sink sink;

int levelFromEnvironment()
{
    const char* const text = std::getenv("QBX_LOG_LEVEL");
    if (text == nullptr) return defaultLevel;
    char* end = nullptr;
    const long level = std::strtol(text, &end, 10);
    if (end != text && *end == '\0' && level >= 0 && level <= 9) return static_cast<int>(level);
    std::fprintf(stderr, "QBX_LOG_LEVEL: '%s' is not a level from 0 to 9; using %d\n", text,
                 defaultLevel);
    return defaultLevel;
}

int fileFromEnvironment()
{
    const char* const path = std::getenv("QBX_LOG_FILE");
    if (path == nullptr || *path == '\0') return STDERR_FILENO;
    const int file = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640);
    if (file >= 0) return file;
    std::fprintf(stderr, "QBX_LOG_FILE: cannot open %s: %s; logging to standard error\n", path,
                 std::strerror(errno));
    return STDERR_FILENO;
}

std::string prefix(int level)
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    tm utc = {};
    gmtime_r(&now.tv_sec, &utc);
    char time[32] = {};
    std::strftime(time, sizeof time, "%Y-%m-%dT%H:%M:%S", &utc);
    char text[80] = {};
    std::snprintf(text, sizeof text, "%s.%06ldZ %d [%d] ", time, now.tv_nsec / 1000, level,
                  static_cast<int>(gettid()));
    return text;
}

void appendEscaped(std::string& line, char byte)
{
    if (byte == '\n') {
        line += "\\n";
    } else if (byte != '\t' && (static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F)) {
        char escape[8] = {};
        std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(byte));
        line += escape;
    } else {
        line += byte;
    }
}

}  // namespace

void writeLog(int level, std::string_view message)
{
    const std::lock_guard lock(sinkMutex);
    if (!sink.open) sink = {true, fileFromEnvironment(), levelFromEnvironment()};
    if (level > sink.level) return;
    while (!message.empty() && message.back() == '\n')
        message.remove_suffix(1);
    std::string line = prefix(level);
    for (const char byte : message)
        appendEscaped(line, byte);
    line += '\n';
    // One write a line: lines of several processes in one file do not mix.
    if (write(sink.file, line.data(), line.size()) < 0) return;  // a full disk must not stop us
}

void resetLog()
{
    const std::lock_guard lock(sinkMutex);
    if (sink.file != STDERR_FILENO) close(sink.file);
    sink = {};
}

bool isStrict()
{
    const char* const text = std::getenv("QBX_SIM_STRICT");
    if (text != nullptr && *text != '\0') return std::strcmp(text, "0") != 0;
#ifdef NDEBUG
    return false;
#else
    return true;
#endif
}

void reportMisuse(const std::string& what)
{
    writeLog(LogFailure, "misuse of the Storage-system API: " + what);
    if (!isStrict()) return;
    std::fprintf(stderr, "misuse of the Storage-system API: %s\n", what.c_str());
    std::abort();
}

}  // namespace qbxsim
