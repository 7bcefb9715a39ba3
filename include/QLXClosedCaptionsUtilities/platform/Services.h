// The platform services that the library calls, each replaceable by the host.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/Dispatch.h>
#include <QLXClosedCaptionsUtilities/platform/LogFiles.h>
#include <QLXClosedCaptionsUtilities/platform/MediaObjects.h>
#include <QLXClosedCaptionsUtilities/platform/NotificationCenter.h>
#include <QLXClosedCaptionsUtilities/platform/PixelBuffers.h>
#include <QLXClosedCaptionsUtilities/platform/TimeZone.h>
#include <QLXClosedCaptionsUtilities/platform/UserDefaults.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace qlx {

/// Where messages for a developer go. The default writes to standard output and standard error.
class QLX_EXPORT Console {
public:
    Console() = default;
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;
    virtual ~Console();

    /// The portable default.
    [[nodiscard]] static Console& defaultInstance();

    /// Prints `text` as it stands (no line feed is added) to standard output.
    virtual void print(std::string_view text);

    /// Writes one message to the system log: standard error, with a line feed.
    virtual void log(std::string_view message);
};

/// Who the host application is. The default knows only the program's file name.
class QLX_EXPORT Application {
public:
    Application() = default;
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;
    virtual ~Application();

    /// The portable default.
    [[nodiscard]] static Application& defaultInstance();

    /// The application's display name; none by default.
    [[nodiscard]] virtual std::optional<std::string> name();

    /// The application's identifier, used as the domain of errors; by default the program's file name.
    [[nodiscard]] virtual std::string identifier();

    /// The file name of the running program.
    [[nodiscard]] virtual std::string programName();
};

/// Reads whole files.
class QLX_EXPORT FileReader {
public:
    FileReader() = default;
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;
    virtual ~FileReader();

    /// The portable default.
    [[nodiscard]] static FileReader& defaultInstance();

    /// The bytes of the file at `path`; none when it cannot be read (missing, a directory, an input error).
    [[nodiscard]] virtual Data contentsOfFile(const std::string& path);
};

/// The wall clock.
class QLX_EXPORT Clock {
public:
    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock();

    /// The portable default.
    [[nodiscard]] static Clock& defaultInstance();

    /// The time of day.
    [[nodiscard]] virtual std::chrono::system_clock::time_point now();
};

/// The services in force: one atomic pointer each, null for the portable default.
///
/// A host sets its own before its first call into the library and keeps the object alive as long as it is set.
/// Reading is lock-free from any thread. Defaults are never destroyed.
class Services {
public:
    /// The service that is set, else the portable default.
    template <class Service>
    [[nodiscard]] Service& get() const noexcept {
        Service* const service = slot<Service>().load(std::memory_order_acquire);
        return service ? *service : Service::defaultInstance();
    }

    /// Installs `service` (null: the default again) and gives the one installed before, null for the default.
    template <class Service>
    Service* set(Service* service) noexcept {
        return slot<Service>().exchange(service, std::memory_order_acq_rel);
    }

private:
    template <class Service>
    struct Slot {
        std::atomic<Service*> pointer{nullptr};
    };
    struct Slots : Slot<Console>,
                   Slot<Application>,
                   Slot<FileReader>,
                   Slot<Clock>,
                   Slot<TimeZone>,
                   Slot<WeekdayNames>,
                   Slot<UserDefaults>,
                   Slot<LogFiles>,
                   Slot<Directories>,
                   Slot<NotificationCenter>,
                   Slot<UUIDs>,
                   Slot<MediaFactory>,
                   Slot<PixelBufferFactory>,
                   Slot<BackgroundQueue>,
                   Slot<MainQueue> {};

    template <class Service>
    [[nodiscard]] std::atomic<Service*>& slot() const noexcept {
        return static_cast<Slot<Service>&>(_slots).pointer;
    }

    mutable Slots _slots;
};

/// The services of this process.
[[nodiscard]] QLX_EXPORT Services& services() noexcept;

/// Replaces one service for as long as it lives, and puts the former one back. For tests and short programs.
template <class Service>
class ScopedService {
public:
    /// Installs `service`.
    explicit ScopedService(Service& service) : _former(services().set<Service>(&service)) {}
    ~ScopedService() { services().set<Service>(_former); }
    ScopedService(const ScopedService&) = delete;
    ScopedService& operator=(const ScopedService&) = delete;

private:
    Service* _former;
};

}  // namespace qlx
