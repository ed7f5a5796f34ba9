#pragma once
// Hand-written substitutes for the shared services.
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "shared/ILocalConfiguration.h"
#include "shared/ILogger.h"
#include "shared/RetryClock.h"

namespace orvik::testing {

class RecordingLogger : public pkgshared::ILogger {
public:
    struct Line {
        std::wstring source;
        std::int32_t level;
        std::wstring message;
    };
    void Log(const std::wstring& source, std::int32_t level, const std::wstring& message) override {
        lines.push_back({source, level, message});
    }
    void Close() override {}
    std::wstring GetLogFilePath() const override { return L""; }
    std::vector<std::wstring> Messages() const {
        std::vector<std::wstring> messages;
        for (const Line& line : lines) {
            messages.push_back(line.message);
        }
        return messages;
    }
    std::vector<Line> lines;
};

class FakeConfiguration : public pkgshared::ILocalConfiguration {
public:
    std::map<std::wstring, bool> bools;
    std::map<std::wstring, std::wstring> strings;
    std::optional<bool> GetBool(const std::wstring& name) const override {
        const auto it = bools.find(name);
        return it == bools.end() ? std::nullopt : std::optional<bool>(it->second);
    }
    std::optional<std::int64_t> GetNumber(const std::wstring&) const override { return {}; }
    std::optional<std::wstring> GetString(const std::wstring& name) const override {
        const auto it = strings.find(name);
        return it == strings.end() ? std::nullopt : std::optional<std::wstring>(it->second);
    }
};

// Time moves only when slept; `onSleep` runs at every sleep.
class FakeClock : public pkgshared::IRetryClock {
public:
    std::int64_t NowTicks() override { return now; }
    void Sleep(std::chrono::milliseconds duration) override {
        sleeps.push_back(duration);
        now += duration.count() * 10'000;
        onSleep(sleeps.size());
    }
    std::int64_t now = 0;
    std::vector<std::chrono::milliseconds> sleeps;
    std::function<void(size_t)> onSleep = [](size_t) {};
};

}  // namespace orvik::testing
