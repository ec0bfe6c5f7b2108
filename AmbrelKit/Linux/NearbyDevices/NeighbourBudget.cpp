#include "AmbrelKit/Linux/NearbyDevices/NeighbourBudget.hpp"

namespace AmbrelKit::Linux {

namespace {

constexpr std::size_t mostOfAll = 5000 * NeighbourBudget::perService;
constexpr std::size_t mostHeardAgain = 1000 * NeighbourBudget::perService;

} // namespace

bool NeighbourBudget::Share::grants(std::uint64_t sender, std::size_t cost, std::size_t most) {
    auto& itsOwn = used_[sender % used_.size()];
    const auto after = usedByAll_ + cost;
    if (after > most || 2 * (itsOwn + cost) > 3 * (most - after)) {
        return false;
    }
    itsOwn += static_cast<std::uint32_t>(cost);
    usedByAll_ = after;
    return true;
}

bool NeighbourBudget::grants(std::uint64_t sender, std::size_t cost, bool isHeardAgain) {
    return first_.grants(sender, cost, mostOfAll) ||
           (isHeardAgain && again_.grants(sender, cost, mostHeardAgain));
}

} // namespace AmbrelKit::Linux
