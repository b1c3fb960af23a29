#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

#include <QtGlobal>

/// One line of the log.
struct LogLine
{
    QtMsgType level;
    std::string text;

    bool operator==(const LogLine& other) const
    {
        return level == other.level && text == other.text;
    }
};

std::ostream& operator<<(std::ostream& out, const LogLine& line);

/// Takes every line of the log while it lives, from any thread, and restores the handler that was
/// there. One at a time. A line that does not come from category "default", or that carries a
/// file, a line or a function, is taken with " {context}" behind its text.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogLine> Lines() const;
    std::vector<LogLine> TakeLines();

    /// Waits until that many lines have come since the capture was made, taken or not.
    void AwaitLines(std::size_t count);

private:
    static void Handle(QtMsgType level, const QMessageLogContext& context, const QString& text);

    static LogCapture* s_current;

    mutable std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::size_t m_count = 0;
    std::vector<LogLine> m_lines;
    QtMessageHandler m_previous;
};

// A whole line of the module "VideoPlayerFishEye", as the message handler gets it.
LogLine Warning(const std::string& text);
LogLine Info(const std::string& text);

/// A text, a value and the closing bracket, as the stream puts blanks between them.
std::string WithValue(const std::string& text, long long value);
