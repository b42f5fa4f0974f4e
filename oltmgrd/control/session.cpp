#include "oltmgrd/control/session.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <utility>

#include "oltmgrd/control/server.h"
#include "oltmgrd/files/memory.h"

namespace oltmgrd {
namespace {

constexpr std::size_t kLineMax = 1U << 20U;  // bytes, without its end
// Lines up to this size are read on the server's thread: it takes no longer than passing them on.
constexpr std::size_t kShortLine = 1U << 14U;
// How long the rest of an over-long line is taken in, so that its sender gets to see the answer.
constexpr std::chrono::seconds kDrainTime{1};

using Error = boost::system::error_code;

}  // namespace

ControlSession::ControlSession(boost::asio::local::stream_protocol::socket socket, ControlServer& server)
    : server_(server), socket_(std::move(socket)), drainTimer_(server.io_) {}

void ControlSession::read() {
    boost::asio::async_read_until(
        socket_, boost::asio::dynamic_buffer(received_, kLineMax + 1), '\n',
        [self = shared_from_this()](const Error& error, std::size_t length) {
            if (!error) {
                std::string line = self->received_.substr(0, length - 1);
                self->received_.erase(0, length);
                self->take(std::move(line));
            } else if (error == boost::asio::error::not_found) {
                self->refuseOverlong();
            } else if (error == boost::asio::error::eof && !self->received_.empty()) {
                // The last line needs no end.
                self->closing_ = true;
                self->take(std::exchange(self->received_, {}));
            } else {
                self->close();
            }
        });
}

void ControlSession::take(std::string line) {
    phase_ = Phase::carryingOut;
    lastRequest_ = Clock::now();
    if (line.size() <= kShortLine) {
        carryOut(server_.commands_.read(line));
        return;
    }
    server_.runInPool([self = shared_from_this(), text = std::move(line)] {
        boost::asio::post(self->server_.io_,
                          [self, request = self->server_.commands_.read(text)] { self->carryOut(request); });
    });
}

void ControlSession::carryOut(const Request& request) {
    if (request.command == nullptr || !request.command->waits) {
        answer(server_.commands_.answer(request));
        return;
    }
    server_.runInPool([self = shared_from_this(), request] {
        std::string line = self->server_.commands_.answer(request);
        boost::asio::post(self->server_.io_,
                          [self, text = std::move(line)]() mutable { self->answer(std::move(text)); });
    });
}

void ControlSession::answer(std::string line) {
    phase_ = Phase::answering;
    answer_ = std::move(line);
    answer_ += '\n';
    boost::asio::async_write(socket_, boost::asio::buffer(answer_),
                             [self = shared_from_this()](const Error& error, std::size_t) {
                                 self->phase_ = Phase::reading;
                                 const bool isLarge = self->answer_.size() > kLargeWork;
                                 self->answer_ = {};
                                 if (isLarge) {
                                     returnFreeMemory();
                                 }
                                 if (error || self->closing_) {
                                     self->close();
                                 } else {
                                     self->read();
                                 }
                             });
}

void ControlSession::refuseOverlong() {
    phase_ = Phase::answering;
    answer_ = refusal("a request has at most " + std::to_string(kLineMax) + " bytes") + "\n";
    drainTimer_.expires_after(kDrainTime);
    drainTimer_.async_wait([self = shared_from_this()](const Error& error) {
        if (!error) {
            self->close();
        }
    });
    boost::asio::async_write(socket_, boost::asio::buffer(answer_),
                             [self = shared_from_this()](const Error& error, std::size_t) {
                                 Error ignored;
                                 self->socket_.shutdown(boost::asio::socket_base::shutdown_send, ignored);
                                 if (error) {
                                     self->close();
                                 } else {
                                     self->drain();
                                 }
                             });
}

void ControlSession::drain() {
    received_.resize(kShortLine);
    socket_.async_read_some(boost::asio::buffer(received_),
                            [self = shared_from_this()](const Error& error, std::size_t) {
                                if (error) {
                                    self->close();
                                } else {
                                    self->drain();
                                }
                            });
}

void ControlSession::closeWhenIdle() {
    closing_ = true;
    if (phase_ == Phase::reading) {
        close();
    }
}

void ControlSession::close() {
    Error ignored;
    drainTimer_.cancel();
    socket_.close(ignored);
    server_.sessions_.erase(shared_from_this());
}

}  // namespace oltmgrd
