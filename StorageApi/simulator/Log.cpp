#include "Log.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <optional>

namespace qbxsim
{
namespace
{

struct Sink
{
    int file;
    int level;
};

std::mutex sinkMutex;
std::optional<Sink> sink;

int levelFromEnvironment()
{
    const char* const text = std::getenv("QBX_LOG_LEVEL");
    if (text == nullptr) return LogRejected;
    if (*text >= '0' && *text <= '9' && text[1] == '\0') return *text - '0';
    std::fprintf(stderr, "QBX_LOG_LEVEL: '%s' is not a level from 0 to 9; using %d\n", text,
                 LogRejected);
    return LogRejected;
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

/// Wants the mutex held.
const Sink& openSink()
{
    if (!sink) sink = Sink{fileFromEnvironment(), levelFromEnvironment()};
    return *sink;
}

std::string prefix(int level)
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local = {};
    localtime_r(&now.tv_sec, &local);
    char time[32] = {};
    std::strftime(time, sizeof time, "%Y-%m-%dT%H:%M:%S", &local);
    char zone[8] = {};
    std::strftime(zone, sizeof zone, "%z", &local);  // +0100
    char text[80] = {};
    std::snprintf(text, sizeof text, "%s.%03ld%.3s:%s %d [%d] ", time, now.tv_nsec / 1000000, zone,
                  zone + 3, level, static_cast<int>(gettid()));
    return text;
}

std::string escaped(std::string_view message)
{
    std::string text;
    unsigned char before = 0;
    for (const char byte : message) {
        const auto code = static_cast<unsigned char>(byte);
        // U+0080 to U+009F: control characters of two bytes in UTF-8, and of one in Latin-1.
        const bool isC1 = code >= 0x80 && code < 0xA0 && (before < 0x80 || before == 0xC2);
        if (isC1 && before == 0xC2) text.pop_back();
        before = code;
        if (byte == '\n') {
            text += "\\n";
        } else if (byte == '\t' || (code >= 0x20 && code != 0x7F && !isC1)) {
            text += byte;
        } else {
            char escape[8] = {};
            std::snprintf(escape, sizeof escape, "\\x%02X", code);
            text += escape;
        }
    }
    return text;
}

}  // namespace

bool isLogged(int level)
{
    const std::lock_guard lock(sinkMutex);
    return level <= openSink().level;
}

void writeLog(int level, std::string_view message)
{
    if (!isLogged(level)) return;
    const std::string_view whole = message.substr(0, message.find_last_not_of('\n') + 1);
    const std::string line = prefix(level) + escaped(whole) + '\n';
    const std::lock_guard lock(sinkMutex);
    // One write a line: lines of several processes in one file do not mix.
    if (write(openSink().file, line.data(), line.size()) < 0) return;  // a full disk is no reason
}

void resetLog()
{
    const std::lock_guard lock(sinkMutex);
    if (sink && sink->file != STDERR_FILENO) close(sink->file);
    sink.reset();
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
