#include "tools/ambrel/Live/IncomingText.hpp"

#include "tools/ambrel/Commands.hpp"

#include "AmbrelKit/Platform/JSONText.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace Ambrel {

IncomingText::IncomingText(const std::string& name)
    : file_(open(name.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (file_.get() < 0) {
        throw CommandError(failed, name + ": " + std::generic_category().message(errno));
    }
}

bool IncomingText::hasLine() {
    while (true) {
        const std::string_view ahead(gptr(), static_cast<std::size_t>(egptr() - gptr()));
        const auto begin = ahead.find_first_not_of(" \t\r\n");
        if (isWhole_ || ahead.size() > AmbrelKit::greatestJSONLength ||
            (begin != ahead.npos && ahead.find('\n', begin) != ahead.npos)) {
            return true;
        }
        pollfd more{.fd = file_.get(), .events = POLLIN, .revents = 0};
        if (poll(&more, 1, 0) == 0) {
            return false;
        }
        readMore();
    }
}

IncomingText::int_type IncomingText::underflow() {
    while (gptr() == egptr() && !isWhole_) {
        readMore();
    }
    if (gptr() == egptr() && error_ != 0) {
        throw std::system_error(error_, std::generic_category()); // the stream goes bad
    }
    return gptr() == egptr() ? traits_type::eof() : traits_type::to_int_type(*gptr());
}

void IncomingText::readMore() {
    std::array<char, 1U << 16U> piece; // NOLINT(cppcoreguidelines-pro-type-member-init)
    const ssize_t count = read(file_.get(), piece.data(), piece.size());
    if (count < 0 && errno == EINTR) {
        return;
    }
    isWhole_ = count <= 0;
    error_ = count < 0 ? errno : 0;
    text_.erase(0, static_cast<std::size_t>(gptr() - eback()));
    text_.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    setg(text_.data(), text_.data(), text_.data() + text_.size());
}

} // namespace Ambrel
