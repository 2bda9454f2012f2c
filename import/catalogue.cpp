// All reports: the rows of every format, then what formats share.
#include "library/reports/catalogue.h"

#include "import/bif_messages.h"
#include "import/dsc_messages.h"
#include "import/dxpress_messages.h"
#include "import/ergo_messages.h"
#include "import/hugin_messages.h"
#include "import/messages.h"
#include "import/uai_messages.h"
#include "import/xdsl_messages.h"
#include "import/xmlbif_messages.h"

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
