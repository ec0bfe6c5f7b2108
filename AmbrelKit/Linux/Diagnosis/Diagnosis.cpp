#include "AmbrelKit/Linux/Diagnosis/Diagnosis.hpp"

#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

std::vector<Source> named(const std::vector<std::string>& names) {
    const auto has = [](const auto& list, const auto& one) {
        return std::ranges::find(list, one) != list.end();
    };
    for (const std::string& name : names) {
        if (!has(Diagnosis::sources(), name)) {
            throw std::invalid_argument("there is no source \"" + name + "\"");
        }
    }
    std::vector<Source> found;
    std::ranges::copy_if(allSources, std::back_inserter(found),
                         [&](Source source) { return has(names, std::string(code(source))); });
    return found;
}

class FullDiagnosis final : public Diagnosis, public std::enable_shared_from_this<FullDiagnosis> {
public:
    explicit FullDiagnosis(std::function<void(const std::vector<SourceDiagnosis>&)> done)
        : done_(std::move(done)) {}

    void begin(const LocationOptions& location, MDNSStack mdns,
               const std::vector<Source>& sources) {
        const auto loop = EventLoop::current();
        look_ = loop->deadline(weakly(weak_from_this(), &FullDiagnosis::look));
        changes_ = loop->shared<LoopBoard>()->reports([this] { lookSoon(); });
        for (const Source source : sources) {
            examinations_.push_back(Examination::start(
                loop, location, mdns, source, weakly(weak_from_this(), &FullDiagnosis::lookSoon)));
        }
        lookSoon();
    }

private:
    void lookSoon() { look_->arm(std::chrono::steady_clock::now()); }

    void look() {
        std::vector<SourceDiagnosis> found;
        auto next = std::chrono::steady_clock::time_point::max();
        for (const auto& examination : examinations_) {
            examination->look();
            if (examination->found()) {
                found.push_back(*examination->found());
            } else {
                next = std::min(next, examination->end());
            }
        }
        if (found.size() < examinations_.size()) {
            look_->arm(next);
            return;
        }
        changes_.reset();
        look_->disarm();
        std::exchange(done_, nullptr)(found);
    }

    std::function<void(const std::vector<SourceDiagnosis>&)> done_;
    std::vector<std::shared_ptr<Examination>> examinations_;
    std::shared_ptr<Deadline> look_;
    std::shared_ptr<SourceReports> changes_;
};

} // namespace

std::vector<std::string> Diagnosis::sources() {
    std::vector<std::string> names;
    std::ranges::transform(allSources, std::back_inserter(names),
                           [](Source source) { return std::string(code(source)); });
    return names;
}

std::shared_ptr<Diagnosis>
Diagnosis::start(const LocationOptions& options,
                 std::function<void(const std::vector<SourceDiagnosis>&)> done,
                 const std::vector<std::string>& wanted, MDNSStack mdns) {
    const auto sources = named(wanted);
    auto diagnosis = std::make_shared<FullDiagnosis>(std::move(done));
    diagnosis->begin(options, mdns, sources);
    return diagnosis;
}

} // namespace AmbrelKit::Linux
