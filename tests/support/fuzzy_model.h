// Fuzzy matching written down a second time: the recurrence of the edit distance cell by cell, and the ranked lists by
// the plainest means. On std::string, without any of the library's own notions.
#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "sort_model.h"

namespace QuorvaneTest
{

// The shorter text runs along the rows; of equal lengths, the other one does.
inline bool FuzzyModelQueryIsRows(const std::string &query, const std::string &other)
{
    return query.size() < other.size();
}

// One row of counters. The top row starts one above the usual boundary, the left column does not.
inline unsigned FuzzyModelDistance(const std::string &query, const std::string &other)
{
    const bool queryIsRows = FuzzyModelQueryIsRows(query, other);
    const std::string &rows = queryIsRows ? query : other;
    const std::string &columns = queryIsRows ? other : query;

    std::vector<unsigned> cell(columns.size() + 1);
    for (size_t j = 0; j <= columns.size(); ++j)
        cell[j] = static_cast<unsigned>(j + 1);
    for (size_t i = 0; i < rows.size(); ++i)
    {
        unsigned diagonal = cell[0];
        unsigned left = static_cast<unsigned>(i + 1);
        cell[0] = left;
        for (size_t j = 0; j < columns.size(); ++j)
        {
            const unsigned above = cell[j + 1];
            const unsigned equal = columns[j] == rows[i] ? 1 : 0;
            left = std::min(std::min(diagonal - equal, above), left) + 1;
            cell[j + 1] = left;
            diagonal = above;
        }
    }
    return cell[columns.size()];
}

inline float FuzzyModelWeight(const std::string &query, const std::string &other)
{
    if (query.empty() && other.empty())
        return 1.0f;
    if (query.empty() || other.empty())
        return 0.0f;
    const unsigned total = static_cast<unsigned>(query.size() + other.size());
    return static_cast<float>(total - FuzzyModelDistance(query, other) + 1) / static_cast<float>(total);
}

// No alignment.
constexpr unsigned kFuzzyModelNone = std::numeric_limits<unsigned>::max() / 2;

// The distance of the best alignment that matches exactly the characters `positions` of the query with equal ones of
// the other text, and no others; kFuzzyModelNone or more when there is no such alignment. It is the model's distance
// exactly when a best alignment matches these characters.
inline unsigned FuzzyModelDistanceMatching(const std::string &query, const std::string &other,
                                           const std::vector<unsigned> &positions)
{
    const bool queryIsRows = FuzzyModelQueryIsRows(query, other);
    const std::string &rows = queryIsRows ? query : other;
    const std::string &columns = queryIsRows ? other : query;
    std::vector<bool> matched(query.size(), false);
    for (const unsigned position : positions)
        matched.at(position) = true;
    const auto rowIsMatched = [&](size_t i) { return queryIsRows && matched[i]; };
    const auto columnIsMatched = [&](size_t j) { return !queryIsRows && matched[j]; };

    std::vector<std::vector<unsigned>> cell(rows.size() + 1, std::vector<unsigned>(columns.size() + 1));
    cell[0][0] = 1;
    for (size_t j = 0; j < columns.size(); ++j)
        cell[0][j + 1] = columnIsMatched(j) ? kFuzzyModelNone : cell[0][j] + 1;
    for (size_t i = 0; i < rows.size(); ++i)
    {
        // Skipping the first row's character costs nothing at the left boundary.
        cell[i + 1][0] = rowIsMatched(i) ? kFuzzyModelNone : cell[i][0] + (i == 0 ? 0 : 1);
        for (size_t j = 0; j < columns.size(); ++j)
        {
            unsigned best = kFuzzyModelNone;
            if (!rowIsMatched(i) && !columnIsMatched(j))
                best = cell[i][j] + 1;
            else if (rows[i] == columns[j])
                best = cell[i][j];
            if (!rowIsMatched(i))
                best = std::min(best, cell[i][j + 1] + 1);
            if (!columnIsMatched(j))
                best = std::min(best, cell[i + 1][j] + 1);
            cell[i + 1][j + 1] = best;
        }
    }
    return cell[rows.size()][columns.size()];
}

// Index and weight.
using FuzzyModelElement = std::pair<unsigned, float>;

struct SFuzzyModelOrder
{
    static bool Less(const FuzzyModelElement &a, const FuzzyModelElement &b) { return a.second > b.second; }
    static bool Equal(const FuzzyModelElement &a, const FuzzyModelElement &b) { return a.second == b.second; }
};

// By index, what reaches the tolerance.
inline std::vector<FuzzyModelElement> FuzzyModelKept(const std::vector<float> &weights, float tolerance)
{
    std::vector<FuzzyModelElement> kept;
    for (size_t i = 0; i < weights.size(); ++i)
        if (weights[i] >= tolerance)
            kept.emplace_back(static_cast<unsigned>(i), weights[i]);
    return kept;
}

// Best first; equal ones where the sort's steps leave them.
inline std::vector<FuzzyModelElement> FuzzyModelOrdered(const std::vector<float> &weights, float tolerance)
{
    std::vector<FuzzyModelElement> kept = FuzzyModelKept(weights, tolerance);
    ModelQuickSort<SFuzzyModelOrder>(kept);
    return kept;
}

// Best first, equal ones by index, no more than `maxCount`.
inline std::vector<FuzzyModelElement> FuzzyModelTop(const std::vector<float> &weights, float tolerance, size_t maxCount)
{
    std::vector<FuzzyModelElement> kept = FuzzyModelKept(weights, tolerance);
    std::sort(kept.begin(), kept.end(),
              [](const FuzzyModelElement &a, const FuzzyModelElement &b)
              { return SFuzzyModelOrder::Less(a, b) || (!SFuzzyModelOrder::Less(b, a) && a.first < b.first); });
    if (kept.size() > maxCount)
        kept.resize(maxCount);
    return kept;
}

} // namespace QuorvaneTest
