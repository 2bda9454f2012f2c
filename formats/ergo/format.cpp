#include "formats/ergo/ergo.h"
#include "formats/ergo/messages.h"
#include "formats/shared/start.h"

namespace lumo {
namespace {

/// A text of a number of nodes, their numbers of states, and for each how many parents it has and
/// which. Other lists of integers, such as evidence, seldom say that.
int Strength(const TextStart& start) {
    const std::vector<Token>& tokens = start.tokens;
    std::size_t at = 0;
    // The next number, which has at most seven digits; -1 at another token and at the end.
    const auto next = [&]() -> long {
        constexpr std::size_t mostDigits = 7;
        if (at >= tokens.size() || tokens[at].text.size() > mostDigits) return -1;
        long number = 0;
        for (const char c : tokens[at].text) {
            if (c < '0' || c > '9') return -1;
            number = number * 10 + (c - '0');
        }
        ++at;
        return number;
    };
    const auto ends = [&] { return at >= tokens.size(); };
    const long nodes = next();
    if (nodes < 1) return 0;
    for (long i = 0; i < nodes; ++i)
        if (next() < 1) return ends() ? strength::weak : 0;
    for (long i = 0; i < nodes; ++i) {
        long parents = next();
        if (parents < 0 || parents >= nodes) return ends() ? strength::weak : 0;
        for (; parents > 0; --parents)
            if (const long parent = next(); parent < 0 || parent > nodes)
                return ends() ? strength::weak : 0;
    }
    return ends() ? strength::weak : strength::strong;
}

rept_kt* Read(InChannel_CString_kt& channel, Bnet_bn& net, Vnet_kt&, const ReadOptions& options) {
    return ParseErgoFile(channel, net, options);
}

}  // namespace

constinit const FormatInfo ergoFormat = {
    .code = FormatErgo,
    .name = "ergo",
    .title = "Ergo",
    .details = "the older, numeric format",
    .users = "an early editor",
    .extensions = ".erg .ergo",
    .services = {},
    .lineComment = "",
    .blockComments = true,
    .hasPositions = true,
    .strength = Strength,
    .read = Read,
    .messages = RowsIn<msg::ergo>,
    .write = nullptr,
    .written = nullptr,
    .losses = nullptr,
};

}  // namespace lumo
