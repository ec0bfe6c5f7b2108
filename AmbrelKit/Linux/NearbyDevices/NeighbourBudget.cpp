#include "AmbrelKit/Linux/NearbyDevices/NeighbourBudget.hpp"

namespace AmbrelKit::Linux {

namespace {

constexpr std::size_t mostOfOne = 3000 * NeighbourBudget::perService;
constexpr std::size_t mostOfAll = 5000 * NeighbourBudget::perService;
constexpr std::size_t mostHeardAgain = 1000 * NeighbourBudget::perService;

} // namespace

bool NeighbourBudget::grants(std::uint64_t sender, std::size_t cost, bool isHeardAgain) {
    auto& itsOwn = used_[sender % used_.size()];
    if (itsOwn + cost <= mostOfOne && usedByAll_ + cost <= mostOfAll) {
        itsOwn += static_cast<std::uint32_t>(cost);
        usedByAll_ += cost;
        return true;
    }
    if (isHeardAgain && usedAgain_ + cost <= mostHeardAgain) {
        usedAgain_ += cost;
        return true;
    }
    return false;
}

} // namespace AmbrelKit::Linux
