#include "core/clock.h"
#include "platform/services.h"
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <velmont/host.h>

namespace velmont {

namespace {

constexpr std::size_t kLogPathBytes = 4096;

/// The time in the form of asctime, a line feed at its end; empty when it has none.
class LocalTime {
public:
    LocalTime()
    {
        const std::time_t now = clockSeconds();
#if defined(_WIN32)
        // This system's runtime keeps the records of both calls per thread.
        const std::tm *const local = std::localtime(&now);
        const char *const text = local ? std::asctime(local) : nullptr;
        std::snprintf(text_.data(), text_.size(), "%s", text ? text : "");
#else
        tzset(); // the time zone may change while the host runs
        std::tm local;
        text_[0] = '\0';
        if (!localtime_r(&now, &local) || !asctime_r(&local, text_.data()))
            text_[0] = '\0';
#endif
    }
    const char *text() const
    {
        return text_.data();
    }

private:
    std::array<char, 64> text_;
};

/// One line of the log, cut to what its buffer holds.
class LogLine {
public:
    LogLine() { text_[0] = '\0'; }

    /// The text that `write` puts into the buffer that it is given, behind what is there.
    template <typename Write>
    void append(Write write)
    {
        write(text_.data() + length_, text_.size() - length_);
        text_.back() = '\0';
        length_ = std::strlen(text_.data());
    }
    void appendStamp()
    {
        append(
            [](char *text, std::size_t bytes) { std::snprintf(text, bytes, "<Tm:%s", LocalTime().text()); });
        // The ids take the place of the line feed and of the last digit of the year: hosts rely on this shape.
        length_ -= 2;
        append([](char *text, std::size_t bytes) {
            std::snprintf(text, bytes, "\tPID:%x\tTID:%x>\t", processValue(), threadId());
        });
    }
    /// Ends the line: no blanks at its end, and one line feed unless the text brought its own.
    void finish()
    {
        cutBlanks();
        if (endsInLineFeed())
            return;
        if (length_ + 1 == text_.size()) {
            --length_;
            cutBlanks();
        }
        if (endsInLineFeed())
            return;
        text_[length_++] = '\n';
        text_[length_] = '\0';
    }
    const char *text() const { return text_.data(); }

private:
    void cutBlanks()
    {
        while (length_ != 0 && text_[length_ - 1] == ' ')
            --length_;
        text_[length_] = '\0';
    }
    bool endsInLineFeed() const { return length_ != 0 && text_[length_ - 1] == '\n'; }

    std::array<char, 512> text_;
    std::size_t length_ = 0;
};

/// Opens the log, writes one line with the text that `write` makes, and closes it again, so that a crash loses nothing.
template <typename Write>
int writeLogLine(Write write)
{
    char path[kLogPathBytes];
    std::FILE *const file = logPath(path, sizeof path) ? std::fopen(path, "a+") : nullptr;
    if (!file)
        return 0;
    if (std::fseek(file, 0, SEEK_END) == 0) {
        LogLine line;
        line.appendStamp();
        line.append(write);
        line.finish();
        std::fputs(line.text(), file);
    }
    std::fclose(file);
    return 1;
}

/// The text of a format without arguments: two percent signs give one, all else stays.
void writePlain(const char *format, char *text, std::size_t bytes)
{
    std::size_t length = 0;
    for (const char *next = format; *next != '\0' && length + 1 < bytes; ++next) {
        text[length++] = *next;
        if (next[0] == '%' && next[1] == '%')
            ++next;
    }
    text[length] = '\0';
}

} // namespace

} // namespace velmont

using namespace velmont;

int WriteDebug(char *format, ...)
{
    if (!format)
        return 0;
    std::va_list arguments;
    va_start(arguments, format);
    const int result = writeLogLine([&](char *text, std::size_t bytes) {
        if (std::vsnprintf(text, bytes, format, arguments) < 0)
            text[0] = '\0';
    });
    va_end(arguments);
    return result;
}

int WriteLogFile(char *format)
{
    if (!format)
        return 0;
    return writeLogLine([&](char *text, std::size_t bytes) { writePlain(format, text, bytes); });
}
