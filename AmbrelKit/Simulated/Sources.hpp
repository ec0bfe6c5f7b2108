#ifndef AMBRELKIT_SIMULATED_SOURCES_HPP
#define AMBRELKIT_SIMULATED_SOURCES_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/SourceBoard.hpp"
#include "AmbrelKit/Platform/WeakList.hpp"
#include "AmbrelKit/Simulated/Context.hpp"

#include <array>
#include <memory>
#include <optional>

namespace AmbrelKit::Simulated {

/// How the sources of a simulated platform fare. By themselves they fare as the simulated objects
/// do: Bluetooth as the radio's state, location as the authorization, services listen while they
/// are searched for, the address and Wi-Fi as a tick finds them, the lifecycle while it is
/// observed. A test makes any other condition:
///
///     platform.sources().impose(Source::services, {.state = SourceState::refused,
///                                                  .code = "no-netlink",
///                                                  .reason = "the kernel does not answer",
///                                                  .remedy = "ask it again"});
///
/// The objects go on reporting meanwhile what they are told to.
class Sources final : public SourceBoard {
public:
    /// A `Platform` makes it.
    AMBRELKIT_API explicit Sources(const std::shared_ptr<Context>& context);

    /// The source is in this condition from now on, whatever the kit and the platform do, until
    /// idle, `{}`, is imposed: then it fares by itself again.
    AMBRELKIT_API void impose(Source source, const SourceCondition& condition);

    AMBRELKIT_API void publish(Source source, const SourceCondition& condition) override;

    /// One of those that the kit has of a source. Of several that are not idle, the newest speaks.
    class Part {
    public:
        /// One more of that source, idle.
        AMBRELKIT_API Part(std::shared_ptr<Sources> sources, Source source);
        Part(const Part&) = delete;
        Part& operator=(const Part&) = delete;
        ~Part() { fares({}); }

        /// It is in this condition from now on.
        AMBRELKIT_API void fares(SourceCondition condition);
        /// It has given the kit one report more.
        void reports() const { sources_->count(source_); }

    private:
        friend class Sources;

        std::shared_ptr<Sources> sources_;
        Source source_;
        std::shared_ptr<SourceCondition> condition_ = std::make_shared<SourceCondition>();
    };

private:
    [[nodiscard]] const SourceCondition& byItself(Source source) const;

    std::array<std::optional<SourceCondition>, allSources.size()> imposed_;
    std::array<WeakList<const SourceCondition>, allSources.size()> parts_; ///< oldest first
};

} // namespace AmbrelKit::Simulated

#endif
