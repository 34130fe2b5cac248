#include "Orderings.h"

#include "Commands.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace orvel {

using kyrOrvel::client::Ordering;

namespace {

const std::pair<const char*, Ordering> kOrderings[] = {
    {"automatic", Ordering::Automatic}, {"constraint-aware", Ordering::ConstraintAware},
    {"symamd", Ordering::Symamd},       {"nested-dissection", Ordering::NestedDissection},
    {"natural", Ordering::Natural},     {"best", Ordering::Best}};

} // namespace

Ordering orderingOf(const std::string& name)
{
    return std::find_if(std::begin(kOrderings), std::end(kOrderings),
                        [&](const auto& ordering) { return name == ordering.first; })
        ->second;
}

const std::vector<std::string>& orderingNames()
{
    static const std::vector<std::string> names = [] {
        std::vector<std::string> result;
        for (const auto& ordering : kOrderings)
            result.emplace_back(ordering.first);
        return result;
    }();
    return names;
}

} // namespace orvel
