// SPDX-License-Identifier: MIT
// screen_probe: prints when which frame of the pretend camera appears on the screen.
//
// Lines: "bar LEFT TOP WIDTH plain|mirrored" when the picture is found, "TIME CODE" for each change; TIME is
// CLOCK_MONOTONIC in nanoseconds.
#include <sys/prctl.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>

#include "bench/peers/camera/frame_code.h"
#include "bench/peers/probe/shown_screen.h"

namespace {

using namespace tavelo;
using namespace tavelo::bench;
using Clock = std::chrono::steady_clock;

// The bar is taller than this at any size that a window has.
constexpr std::size_t rowStep = 8;
constexpr auto searchPause = std::chrono::milliseconds(10);
// A window that moved or changed its size.
constexpr auto lostAfter = std::chrono::milliseconds(300);

struct Place {
    std::size_t top = 0;
    FoundBar bar;
};

// The middle of the rows that show the bar.
std::optional<Place> search(ShownScreen& screen) {
    if (!screen.fetch()) return std::nullopt;
    std::optional<Place> first;
    std::size_t last = 0;
    for (std::size_t top = 0; top < screen.height(); top += rowStep) {
        const auto bar = findBar(screen.fetchedRow(top));
        if (!bar && first) break;
        if (!bar) continue;
        if (!first) first = Place{top, *bar};
        last = top;
    }
    if (first) first->top = (first->top + last) / 2;
    return first;
}

Place waitForBar(ShownScreen& screen) {
    for (;;) {
        if (const auto place = search(screen)) return *place;
        std::this_thread::sleep_for(searchPause);
    }
}

std::optional<std::uint32_t> readCode(ShownScreen& screen, const Place& place) {
    const auto row = screen.row(place.bar.left, place.top, place.bar.width);
    if (row.empty()) return std::nullopt;
    return readFrameCode(row, {0, place.bar.width, place.bar.mirrored});
}

void tell(Clock::time_point when, std::uint32_t code) {
    const std::chrono::nanoseconds time = when.time_since_epoch();
    std::printf("%lld %u\n", static_cast<long long>(time.count()), code);
    std::fflush(stdout);
}

// Until the bar is gone.
void follow(ShownScreen& screen, const Place& place, std::optional<std::uint32_t>& shown,
            Clock::duration pause) {
    Clock::time_point seen = Clock::now();
    for (Clock::time_point next = seen; next - seen < lostAfter; next += pause) {
        std::this_thread::sleep_until(next);
        const auto code = readCode(screen, place);
        if (!code) continue;
        seen = Clock::now();
        // A probe that fell behind does not catch up.
        next = std::max(next, seen - pause);
        if (code == shown) continue;
        shown = code;
        tell(seen, *code);
    }
}

[[noreturn]] void watch(Clock::duration pause) {
    ShownScreen screen;
    std::puts("watching");
    std::fflush(stdout);
    std::optional<std::uint32_t> shown;
    for (;;) {
        const Place place = waitForBar(screen);
        std::printf("bar %zu %zu %zu %s\n", place.bar.left, place.top, place.bar.width,
                    place.bar.mirrored ? "mirrored" : "plain");
        follow(screen, place, shown, pause);
    }
}

} // namespace

int main(int count, char** words) {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    unsigned rate = 0;
    const std::string_view text = count == 2 ? words[1] : "";
    const auto [stopped, error] = std::from_chars(text.data(), text.data() + text.size(), rate);
    if (text.empty() || error != std::errc() || stopped != text.data() + text.size() || rate == 0) {
        std::fputs("usage: screen_probe LOOKS-A-SECOND\n", stderr);
        return 2;
    }
    try {
        watch(Clock::duration(std::chrono::seconds(1)) / rate);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "screen_probe: %s\n", failure.what());
        return 1;
    }
}
