// The peers, as far as CMake has found them; each has a switch QV_BENCH_<peer> that is 1 or 0.
#pragma once

#include <memory>
#include <vector>

#if QV_BENCH_ABSL
#include <absl/hash/hash.h>
#include <absl/strings/ascii.h>
#include <absl/strings/cord.h>
#include <absl/strings/escaping.h>
#include <absl/strings/match.h>
#include <absl/strings/numbers.h>
#include <absl/strings/str_cat.h>
#include <absl/strings/str_format.h>
#include <absl/strings/str_join.h>
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>
#include <absl/strings/strip.h>
#endif

#if QV_BENCH_BOOST
#include <boost/algorithm/string.hpp>
#include <boost/container/string.hpp>
#include <boost/range/algorithm.hpp>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <boost/tokenizer.hpp>
#endif

#if QV_BENCH_FMT
#include <fmt/format.h>
#include <fmt/printf.h>
#endif

#if QV_BENCH_RE2
#include <re2/re2.h>
#endif

#if QV_BENCH_QT
#include <QByteArray>
#include <QByteArrayList>
#include <QStringBuilder>
#endif
