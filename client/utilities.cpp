// Searching in texts, waiting, the internal date and time.
#include "client/utilities.h"

#include <cmath>
#include <limits>

#include "automation/error.h"
#include "automation/message_pump.h"

namespace kel::client {

using automation::Error;
using automation::Text;
using automation::TextView;

namespace {

constexpr float kSecondsOfDay = 86400.0F;

// The members' positions are 16 bits wide: what lies behind 32767 has none.
short Narrow(std::size_t position) {
    if (position > static_cast<std::size_t>(std::numeric_limits<short>::max())) {
        throw Error(automation::kOverflow);
    }
    return static_cast<short>(position);
}

// First match at or after `start` (from 1), or 0. An empty part matches at the start itself.
std::size_t Search(TextView text, TextView part, short start) {
    const auto from = static_cast<std::size_t>(start - 1);
    if (from >= text.size()) {
        return 0;
    }
    const std::size_t found = text.find(part, from);
    return found == TextView::npos ? 0 : found + 1;
}

float SecondsSinceMidnight() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    constexpr int kMinute = 60;
    constexpr double kMillisecond = 0.001;
    return static_cast<float>(((now.wHour * kMinute) + now.wMinute) * kMinute + now.wSecond +
                              now.wMilliseconds * kMillisecond);
}

void YieldToMessages() {
    constexpr DWORD kNapMs = 20;
    if (automation::PumpMessages()) {
        // Not only for new messages: those that came during the pumping are waiting as well.
        MsgWaitForMultipleObjectsEx(0, nullptr, kNapMs, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    } else {
        Sleep(kNapMs);  // a quit message waits for the client's own loop
    }
}

constexpr WaitEnvironment kSystemWait{SecondsSinceMidnight, YieldToMessages};

}  // namespace

long Index(TextView text, TextView part, short occurrence) {
    if (occurrence < 1) {
        return 0;
    }
    short start = 1;
    for (short seen = 1; seen < occurrence; ++seen) {
        start = Narrow(Search(text, part, start) + 1);
        if (start == 1) {
            return 0;
        }
    }
    return static_cast<long>(Search(text, part, start));
}

Text Field(TextView text, TextView delimiter, short number) {
    if (number < 1) {
        return {};
    }
    short start = 1;
    if (number > 1) {
        const long before = Index(text, delimiter, static_cast<short>(number - 1));
        start = Narrow(static_cast<std::size_t>(before) + 1);
        if (start == 1) {
            return {};
        }
    }
    const auto from = static_cast<std::size_t>(start - 1);
    const short end = Narrow(Search(text, delimiter, start));
    if (from >= text.size()) {
        return {};
    }
    return Text(end > 0 ? text.substr(from, static_cast<std::size_t>(end - start))
                        : text.substr(from));
}

long InternalDate() {
    constexpr double kDayZero = 24837.0;  // 31 December 1967 as an automation date
    SYSTEMTIME now;
    GetLocalTime(&now);
    DATE date = 0;
    if (!SystemTimeToVariantTime(&now, &date)) {
        throw Error(automation::kInvalidCall);
    }
    return static_cast<long>(std::floor(date) - kDayZero);
}

long InternalTime() {
    return std::lrint(SecondsSinceMidnight());
}

const WaitEnvironment& SystemWait() noexcept {
    return kSystemWait;
}

void Wait(short seconds, const WaitEnvironment& environment) {
    const float start = environment.clock();
    const float sum = start + static_cast<float>(seconds);
    const double target =
        std::fmod(std::nearbyint(static_cast<double>(sum)), static_cast<double>(kSecondsOfDay));
    bool midnightDone = sum <= kSecondsOfDay;
    for (;;) {
        environment.yield();
        if (!midnightDone && environment.clock() < start) {
            midnightDone = true;
        }
        if (static_cast<double>(environment.clock()) >= target && midnightDone) {
            return;
        }
    }
}

}  // namespace kel::client
