// SPDX-License-Identifier: Apache-2.0
#include <corvane/Collections/FinderOrder.h>

namespace corvane {

std::shared_ptr<const Collation> detail::finderCollation()
{
    return Collation::finder(Locale::current(LocaleCategory::collation));
}

ComparisonResult finderCompare(std::string_view a, std::string_view b)
{
    return detail::finderCollation()->compare(a, b);
}

ComparisonResult finderCompare(std::string_view a, std::string_view b, const Locale& locale)
{
    return Collation::finder(locale)->compare(a, b);
}

} // namespace corvane
