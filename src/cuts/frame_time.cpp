#include "cuts/frame_time.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "com/ascii.h"
#include "com/com_ptr.h"
#include "com/refusal.h"

namespace bv {
namespace {

constexpr double kUnitsPerSecond = 10000000;  // of 100 ns

/// The four numbers of a time text: blanks before a number and a sign are allowed, and what follows the last
/// is not read.
class TimeScanner {
public:
    explicit TimeScanner(std::string_view text) : text_(text) {}

    /// width: characters that the number may take, with its sign.
    bool Number(LONG& value, size_t width = size_t(-1)) {
        while (!text_.empty() && (text_[0] == ' ' || (text_[0] >= '\t' && text_[0] <= '\r')))
            text_.remove_prefix(1);
        std::string_view number = text_.substr(0, width);
        const size_t before = number.size();
        const bool negative = !number.empty() && number[0] == '-';
        if (negative || (!number.empty() && number[0] == '+')) number.remove_prefix(1);
        if (number.empty() || !IsDigit(number[0])) return false;
        LONGLONG digits = 0;
        for (; !number.empty() && IsDigit(number[0]); number.remove_prefix(1))
            digits = std::min<LONGLONG>(digits * 10 + (number[0] - '0'), kPastEnd);
        text_.remove_prefix(before - number.size());
        value = LONG(std::clamp<LONGLONG>(negative ? -digits : digits, std::numeric_limits<LONG>::min(),
                                          std::numeric_limits<LONG>::max()));
        return true;
    }
    bool Is(char separator) {
        if (text_.empty() || text_[0] != separator) return false;
        text_.remove_prefix(1);
        return true;
    }

private:
    static constexpr LONGLONG kPastEnd = LONGLONG(1) << 40;
    std::string_view text_;
};

/// Towards zero; the end of the range for what lies outside it.
template <class Integer>
Integer Truncate(double number) {
    constexpr double kEnd = -double(std::numeric_limits<Integer>::min());  // a power of two, so exact
    if (number >= kEnd) return std::numeric_limits<Integer>::max();
    if (number <= -kEnd) return std::numeric_limits<Integer>::min();
    return static_cast<Integer>(number);
}

/// A text of digits and ASCII on the stack.
class FixedText {
public:
    FixedText& Number(LONGLONG number, int digits = 1) {
        char text[24];
        const char* end = std::to_chars(text, text + sizeof text, number).ptr;
        const char* from = text;
        if (*from == '-') {
            *end_++ = L'-';
            ++from;
            --digits;  // a width counts the sign
        }
        for (auto missing = digits - (end - from); missing > 0; --missing) *end_++ = L'0';
        end_ = std::copy(from, end, end_);
        return *this;
    }
    FixedText& Text(std::wstring_view text) {
        end_ = std::copy(text.begin(), text.end(), end_);
        return *this;
    }
    std::wstring_view View() const { return {text_, size_t(end_ - text_)}; }

private:
    wchar_t text_[128];
    wchar_t* end_ = text_;
};

}  // namespace

HRESULT GetFrameRate(IDispatch* media, REFCLSID raiser, double& rate) {
    const auto parser = Query<IMediaParser>(media);
    if (!parser) return RaiseMessage(raiser, msg::kNoParser);
    LONGLONG time_per_frame = 0;
    if (FAILED(parser->get_TimePerFrame(&time_per_frame)) || time_per_frame == 0)
        return RaiseMessage(raiser, msg::kBadFrameRate);
    rate = kUnitsPerSecond / double(time_per_frame);
    return S_OK;
}

Bstr TimeText(LONG frame, double rate) {
    const double time = frame / rate;
    const double hours = std::trunc(time * 0.0002777777777777778);
    double rest = time - hours * 3600;
    const double minutes = std::trunc(rest * 0.016666666666666666);
    rest -= minutes * 60;
    const double seconds = std::trunc(rest);
    const double milliseconds = std::trunc((rest - seconds) * 1000);
    FixedText text;
    text.Number(Truncate<LONGLONG>(hours), 2)
        .Text(L":")
        .Number(Truncate<LONGLONG>(minutes), 2)
        .Text(L":")
        .Number(Truncate<LONGLONG>(seconds), 2)
        .Text(L".")
        .Number(Truncate<LONGLONG>(milliseconds), 3);
    return Bstr(text.View());
}

std::optional<double> ParseTime(std::string_view text) {
    TimeScanner scanner(text);
    LONG hours = 0, minutes = 0, seconds = 0, milliseconds = 0;
    if (!scanner.Number(hours) || !scanner.Is(':') || !scanner.Number(minutes) || !scanner.Is(':') ||
        !scanner.Number(seconds) || !scanner.Is('.') || !scanner.Number(milliseconds, 3))
        return std::nullopt;
    const LONGLONG total = (LONGLONG(hours) * 60 + minutes) * 60 + seconds;
    return double(total) + milliseconds * 0.001;
}

LONG FrameAt(double seconds, double rate) {
    const double exact = rate * seconds;
    const LONG whole = Truncate<LONG>(exact);
    // A shown time has lost up to 1 ms, which is 0.3 frames at a rate of 300:
    // a rest above 0.7 means the next frame.
    return exact - whole > 0.7 && whole < std::numeric_limits<LONG>::max() ? whole + 1 : whole;
}

CallBstr LengthText(LONG start, LONG end, double rate) {
    const LONGLONG length = LONGLONG(end) - start;
    const LONGLONG seconds = rate == 0 ? 0 : Truncate<LONGLONG>(double(length) * (1.0 / rate));
    FixedText text;
    text.Text(L"Length: ");
    if (seconds)
        text.Number(seconds).Text(L" c (").Number(length).Text(L" frm)");
    else
        text.Number(length).Text(L" frm");
    return CallBstr(text.View());
}

LONGLONG TimeOf(LONG frame, LONGLONG time_per_frame) {
    LONGLONG time = 0;
    if (!__builtin_mul_overflow(LONGLONG(frame), time_per_frame, &time)) return time;
    return (frame < 0) == (time_per_frame < 0) ? std::numeric_limits<LONGLONG>::max()
                                               : std::numeric_limits<LONGLONG>::min();
}

LONGLONG AddSpan(LONGLONG sum, LONGLONG start, LONGLONG end) {
    LONGLONG span = 0, result = 0;
    if (__builtin_sub_overflow(end, start, &span))
        span = end > start ? std::numeric_limits<LONGLONG>::max() : std::numeric_limits<LONGLONG>::min();
    if (__builtin_add_overflow(sum, span, &result))
        result = span > 0 ? std::numeric_limits<LONGLONG>::max() : std::numeric_limits<LONGLONG>::min();
    return result;
}

}  // namespace bv
