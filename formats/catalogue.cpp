// All reports: the rows of every format, then what formats share.
#include "library/reports/catalogue.h"

#include "formats/bif/messages.h"
#include "formats/dsc/messages.h"
#include "formats/dxpress/messages.h"
#include "formats/ergo/messages.h"
#include "formats/hugin/messages.h"
#include "formats/shared/messages.h"
#include "formats/uai/messages.h"
#include "formats/xdsl/messages.h"
#include "formats/xmlbif/messages.h"

namespace lumo {

namespace {

std::vector<MessageRow> AllRows() {
    std::vector<MessageRow> all;
    const auto add = [&all](const auto& rows) { all.insert(all.end(), rows.begin(), rows.end()); };
    add(RowsOf(msg::hugin));
    add(RowsOf(msg::dsc));
    add(RowsOf(msg::dxpress));
    add(RowsOf(msg::ergo));
    add(RowsOf(msg::bif));
    add(RowsOf(msg::xdsl));
    add(RowsOf(msg::uai));
    add(RowsOf(msg::xmlbif));
    add(RowsOf(msg::text));
    add(RowsOf(msg::model));
    add(RowsOf(msg::import));
    add(RowsOf(msg::reports));
    return all;
}

}  // namespace

std::span<const MessageRow> ReportCatalogue() {
    static const std::vector<MessageRow> rows = AllRows();
    return rows;
}

}  // namespace lumo
