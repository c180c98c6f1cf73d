// Private header: the standard's iterator categories and traits without <iterator>, which brings its streams and strings
// along: half of what kr_string.h would cost to include.
//
// <array> brings std::rbegin of an array, whose result is a std::reverse_iterator that has its category from
// std::iterator_traits. Users include it through the headers of containers and views.
#pragma once

#include <array>
