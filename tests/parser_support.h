// A tokenizer over a text with a reader's options, for the suites of the tokenizer.
#pragma once

#include <algorithm>
#include <memory>
#include <string>

#include "tests/dialects.h"
#include "tests/support.h"

namespace lumo::test {

/// A text being read, with the reports that come of it.
class Reading {
public:
    explicit Reading(std::string content, Dialect dialect = Dialect::hugin)
        : text(std::move(content)),
          handler_(seen),
          options_(dialect),
          channel_(text.c_str(), "file.net"),
          in(&options_.record, channel_) {}

    const std::string text;
    Collector seen;

private:
    HandlerScope handler_;
    ReportScope scope_;
    Options options_;
    InChannel_CString_kt channel_;

public:
    Parser_CString_kt in;

    std::string word() {
        char buffer[256];
        in.readWord(buffer, 255);
        return buffer;
    }
    std::string string() {
        strin_kt out;
        in.readString(out);
        return std::string(out.view());
    }
    std::string upTo(const char* stops) {
        strin_kt out;
        in.readToChar(stops, out);
        return std::string(out.view());
    }
    /// What is left, raw.
    std::string rest() const { return in.channel.position; }
    /// Line and column that a report made now gets.
    std::string place() {
        in.makeNotice(-1, "here");
        return std::to_string(seen.reports.back().line) + ":" +
               std::to_string(seen.reports.back().column);
    }
    /// Runs it; the report it throws as "number line:column message", empty when it throws none.
    template <class F>
    std::string thrown(F&& run) {
        try {
            run();
        } catch (const rept_kt* report) {
            return std::to_string(report->number) + " " + std::to_string(report->line) + ":" +
                   std::to_string(report->column) + " " + report->message;
        }
        return "";
    }
};

}  // namespace lumo::test
