// A factory of pictures that counts, and fails where a test wants it to.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/PixelBuffers.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qlxtest {

/// The steps that can be refused.
enum class PixelStage { None, Creation, WriteLock, ReadLock, View, Session, Transfer };

/// Refuses one step with a status; everything else works as usual. Counts what is made and keeps the order of locks.
class RefusingPixelBufferFactory : public qlx::PixelBufferFactory {
public:
    explicit RefusingPixelBufferFactory(PixelStage stage = PixelStage::None, qlx::MediaStatus status = 0)
        : refused(stage), _status(status) {}

    PixelStage refused;
    int locksBeforeRefusal = 0;                   ///< This many locks are granted before one is refused.
    std::optional<std::size_t> paddingOfRow;      ///< Bytes added to each row of a `BGRA` picture that is made.
    bool dropsLastPadding = false;                ///< Such a picture ends with the last row's pixels.
    std::uint64_t lastWidth = 0;                  ///< That a picture was asked for.
    std::weak_ptr<qlx::PixelBuffer> lastPicture;  ///< That was made.
    int pictures = 0;
    int views = 0;
    int sessions = 0;
    int transfers = 0;
    std::vector<std::string> steps;  ///< "lock 3", "unlock 3" with the picture's rows, and "transfer".

    qlx::MediaStatus createPixelBuffer(std::uint64_t width, std::uint64_t height, std::uint32_t pixelFormat,
                                       std::shared_ptr<qlx::PixelBuffer>* buffer) override {
        ++pictures;
        lastWidth = width;
        if (refused == PixelStage::Creation) {
            return _status;
        }
        if (!paddingOfRow) {
            const qlx::MediaStatus status = PixelBufferFactory::createPixelBuffer(width, height, pixelFormat, buffer);
            lastPicture = status == 0 ? *buffer : nullptr;
            return status;
        }
        const std::size_t bytesPerRow = static_cast<std::size_t>(width) * 4 + *paddingOfRow;
        const std::size_t size =
            bytesPerRow * static_cast<std::size_t>(height) - (dropsLastPadding ? *paddingOfRow : 0);
        const std::shared_ptr<std::uint8_t[]> bytes(new std::uint8_t[size]());
        const qlx::PixelPlane plane{bytes.get(), bytesPerRow, size};
        return createPixelBufferWithBytes(width, height, pixelFormat, {&plane, 1}, bytes, buffer);
    }
    qlx::MediaStatus createView(const std::shared_ptr<qlx::PixelBuffer>& picture, const qlx::Range& rows,
                                std::shared_ptr<qlx::PixelBuffer>* view) override {
        ++views;
        return refused == PixelStage::View ? _status : PixelBufferFactory::createView(picture, rows, view);
    }
    qlx::MediaStatus lockBaseAddress(qlx::PixelBuffer& buffer, qlx::PixelAccess access) override {
        const PixelStage stage = access == qlx::PixelAccess::ReadOnly ? PixelStage::ReadLock : PixelStage::WriteLock;
        if (refused == stage && locksBeforeRefusal-- == 0) {
            return _status;
        }
        steps.push_back("lock " + std::to_string(buffer.height()));
        return PixelBufferFactory::lockBaseAddress(buffer, access);
    }
    qlx::MediaStatus unlockBaseAddress(qlx::PixelBuffer& buffer, qlx::PixelAccess access) override {
        steps.push_back("unlock " + std::to_string(buffer.height()));
        return PixelBufferFactory::unlockBaseAddress(buffer, access);
    }
    qlx::MediaStatus createTransferSession(std::shared_ptr<qlx::PixelTransferSession>* session) override {
        ++sessions;
        if (refused == PixelStage::Session) {
            return _status;
        }
        *session = std::make_shared<Session>(*this);
        return 0;
    }

private:
    class Session : public qlx::PixelTransferSession {
    public:
        explicit Session(RefusingPixelBufferFactory& factory) : _factory(factory) {}

        qlx::MediaStatus transferImage(const qlx::PixelBuffer& source, qlx::PixelBuffer& destination) override {
            ++_factory.transfers;
            _factory.steps.emplace_back("transfer");
            return _factory.refused == PixelStage::Transfer ? _factory._status
                                                            : PixelTransferSession::transferImage(source, destination);
        }

    private:
        RefusingPixelBufferFactory& _factory;
    };

    qlx::MediaStatus _status;
};

}  // namespace qlxtest
