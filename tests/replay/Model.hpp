#ifndef AMBREL_TESTS_REPLAY_MODEL_HPP
#define AMBREL_TESTS_REPLAY_MODEL_HPP

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace ReplayModel {

/// What a script is expected to give.
struct Outcome {
    std::string trace;
    std::optional<std::size_t> wrongLine; ///< counted from 1

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

/// The rules of a replay (how the kit collects, and how a script drives it) once more, as plainly
/// as they can be put: lists are searched, everything is copied, nothing is shared with the kit.
/// `lines` are correct JSON; only a host's call after a release is found wrong.
Outcome run(const std::vector<std::string>& lines, bool queries);

} // namespace ReplayModel

#endif
