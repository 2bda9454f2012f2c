// What an import is to the reports: budgets, places, unknown words, and what is said at its end.
#include <algorithm>
#include <new>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "library/reports/context.h"
#include "library/reports/messages.h"
#include "library/utilities/Utils.h"
#include "library/utilities/threads.h"

namespace lumo {

namespace {

constexpr std::size_t MaxSummary = 400;  // in bytes, of words in the summary of unknown ones

using UnknownList = std::vector<std::pair<UnknownWord, long long>>;

/// The words with the most frequent first.
UnknownList ByFrequency(const UnknownCounts& counts) {
    UnknownList words(counts.begin(), counts.end());
    std::ranges::sort(words, [](const auto& a, const auto& b) {
        return std::tie(b.second, a.first.word, a.first.number) <
               std::tie(a.second, b.first.word, b.first.number);
    });
    return words;
}

/// "'HR_X' 12 times, 'HR_Y' 2 times"; empty when no word occurred again.
std::string UnknownSummary(const UnknownList& words) {
    const auto once =
        std::ranges::find_if(words, [](const auto& entry) { return entry.second < 2; });
    std::string text;
    auto next = words.begin();
    for (; next != once && text.size() < MaxSummary; ++next) {
        text += Format("%s'%.60s' %lld times", text.empty() ? "" : ", ", next->first.word.c_str(),
                       next->second);
    }
    if (next != once) text += Format(", and %td more", once - next);
    return text;
}

/// Made whatever the budgets say, which are at their end.
template <class... ARGS>
rept_kt* NewClosingReport(const Message<ARGS...>& message,
                          std::type_identity_t<ARGS>... arguments) {
    return AddReport(message.number, SeverityOf(message.kind), FormatRow(&message, arguments...));
}

/// What a scope still has to say when it ends.
void ShowClosingReports(Context& here) {
    // By index: the handler may make reports meanwhile.
    for (std::size_t i = here.firstOfScope; i < here.reports.size(); ++i) {
        ShowReport(&here.reports[i]);
    }
    ShowReport(here.spare.get());
    if (here.hiddenWarnings > 0)
        ShowNow(NewClosingReport(msg::reports.moreWarnings, here.hiddenWarnings));
    if (here.notes > MaxShownWarnings)
        ShowNow(NewClosingReport(msg::reports.moreNotes, here.notes - MaxShownWarnings));
    const UnknownList words = ByFrequency(here.unknown);
    if (const std::string summary = UnknownSummary(words); !summary.empty())
        ShowNow(NewClosingReport(msg::reports.unknownSummary, summary.c_str()));
    for (const auto& [unknown, count] : words) {
        CurrentReportHandler().unknownWord(unknown.word.c_str(), unknown.number, count);
    }
}

}  // namespace

Context& Here() { return OfThread<Context>(); }

// ---- Scopes --------------------------------------------------------------------------------

ReportScope::ReportScope() {
    Context& here = Here();
    // Without memory for it the scope counts on the budget around it.
    if (here.depth++ > 0) outer_ = new (std::nothrow) ReportBudget(std::move(here));
    static_cast<ReportBudget&>(here) = ReportBudget();
    here.firstOfScope = here.reports.size();
}

void ReportScope::end() {
    if (std::exchange(ended_, true)) return;
    ShowClosingReports(Here());
}

ReportScope::~ReportScope() {
    Context& here = Here();
    try {
        end();
    } catch (...) {
        // A handler that throws ends the import, which ends here.
    }
    if (--here.depth == 0) here.reports.clear();
    static_cast<ReportBudget&>(here) = outer_ != nullptr ? std::move(*outer_) : ReportBudget();
    delete outer_;
}

PlaceSource::PlaceSource() : outer_(Here().place) { Here().place = this; }

PlaceSource::~PlaceSource() {
    // Mostly the innermost one, but tokenizers need not end in order.
    PlaceSource** link = &Here().place;
    while (*link != nullptr && *link != this) link = &(*link)->outer_;
    if (*link == this) *link = outer_;
}

OwnPlaces::OwnPlaces() : outer_(std::exchange(Here().place, nullptr)) {}
OwnPlaces::~OwnPlaces() { Here().place = outer_; }

PlaceSource* InnermostPlaceSource() { return Here().place; }

std::vector<const rept_kt*> ReportsOfScope() {
    const Context& here = Here();
    std::vector<const rept_kt*> reports;
    for (std::size_t i = here.firstOfScope; here.inScope() && i < here.reports.size(); ++i)
        reports.push_back(&here.reports[i]);
    return reports;
}

int ErrorsSoFar() {
    const Context& here = Here();
    return here.inScope() ? here.errors : 0;
}

bool ErrorBudgetSpent() { return ErrorsSoFar() >= MaxErrors; }

}  // namespace lumo
