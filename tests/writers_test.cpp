// The text of a small net in each format: what readers other than ours see.
#include "export/writers.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support.h"

namespace lumo::test {
namespace {

/// A decision network with a title to escape, in Hugin's format.
constexpr const char* net =
    R"(net { HR_Desc = "50 % \"dry\"\nseason"; HR_Groups_GroupNames = "Sky"; }
node Rain { label = "Rain < 5 & \"no\" \\ hail"; position = (0 100); states = ("<5" "5+"); HR_Grp = "0"; }
decision Tap { position = (80 100); states = ("off" "on"); }
node Lawn { label = "Lawn"; position = (0 0); states = ("dry" "damp" "wet"); cost = "3"; }
utility Joy { position = (80 0); }
potential (Rain) { data = (0.3 0.7); }
potential (Lawn | Rain Tap) { data = (((2 1 1) (0.1 0.2 0.7)) ((1 0 0) (1e-7 0 1))); }
potential (Joy | Lawn) { data = (-1 2.5 0); }
)";

struct Written {
    std::string text;
    std::vector<std::string> notes;
};

Written WriteAs(const char* name) {
    ImportResult result;
    result.net = ImportText(net, FormatHugin, "lawn.net").net;
    const Writer& writer = *FindWriter(name);
    std::ostringstream out;
    writer.write(result, out);
    return {out.str(), LossNotes(writer.losses(*result.net), writer.title)};
}

TEST(Writers, XmlBif) {
    const Written written = WriteAs("xmlbif");
    const std::size_t root = written.text.find("<BIF ");
    EXPECT_EQ(written.text.substr(root), R"(<BIF VERSION="0.3">
<NETWORK>
<NAME>lawn</NAME>
<VARIABLE TYPE="nature">
<NAME>Rain</NAME>
<OUTCOME>&lt;5</OUTCOME>
<OUTCOME>5+</OUTCOME>
<PROPERTY>position = (0, 0)</PROPERTY>
</VARIABLE>
<VARIABLE TYPE="decision">
<NAME>Tap</NAME>
<OUTCOME>off</OUTCOME>
<OUTCOME>on</OUTCOME>
<PROPERTY>position = (66, 0)</PROPERTY>
</VARIABLE>
<VARIABLE TYPE="nature">
<NAME>Lawn</NAME>
<OUTCOME>dry</OUTCOME>
<OUTCOME>damp</OUTCOME>
<OUTCOME>wet</OUTCOME>
<PROPERTY>position = (0, 83)</PROPERTY>
</VARIABLE>
<VARIABLE TYPE="utility">
<NAME>Joy</NAME>
<OUTCOME>utility</OUTCOME>
<PROPERTY>position = (66, 83)</PROPERTY>
</VARIABLE>
<DEFINITION>
<FOR>Rain</FOR>
<TABLE>
0.3 0.7
</TABLE>
</DEFINITION>
<DEFINITION>
<FOR>Lawn</FOR>
<GIVEN>Rain</GIVEN>
<GIVEN>Tap</GIVEN>
<TABLE>
0.5 0.25 0.25
0.1 0.2 0.7
1 0 0
9.9999994e-08 0 0.9999999
</TABLE>
</DEFINITION>
<DEFINITION>
<FOR>Joy</FOR>
<GIVEN>Lawn</GIVEN>
<TABLE>
-1
2.5
0
</TABLE>
</DEFINITION>
</NETWORK>
</BIF>
)");
    EXPECT_EQ(written.notes,
              std::vector<std::string>({"titles of 1 node are not kept by XML BIF",
                                        "state names of 1 node are not kept by XML BIF",
                                        "exact positions of 2 nodes are not kept by XML BIF",
                                        "groups of 1 node are not kept by XML BIF",
                                        "user fields of 1 node are not kept by XML BIF",
                                        "experience tables of 1 node are not kept by XML BIF",
                                        "1 group is not kept by XML BIF",
                                        "the comment of the net is not kept by XML BIF"}));
}

TEST(Writers, Hugin) {
    const Written written = WriteAs("hugin");
    EXPECT_EQ(written.text, R"(net
{
  HR_Desc = "50 % \"dry\"\nseason";
  HR_Groups_UserGroupsNo = "1";
  HR_Groups_GroupNames = "Sky\t";
}

node Rain
{
  label = "Rain < 5 & \"no\" \\ hail";
  position = (0 100);
  states = ("<5" "5+");
  HR_Grp = "0";
}

decision Tap
{
  position = (80 100);
  states = ("off" "on");
}

node Lawn
{
  label = "Lawn";
  position = (0 0);
  states = ("dry" "damp" "wet");
  cost = "3";
}

utility Joy
{
  position = (80 0);
}

potential (Rain)
{
  data = (0.3 0.7);
}

potential (Lawn | Rain Tap)
{
  data = (((2 1 1)
           (0.1 0.2 0.7))
          ((1 0 0)
           (9.9999994e-08 0 0.9999999)));
}

potential (Joy | Lawn)
{
  data = (-1 2.5 0);
}
)");
    EXPECT_EQ(written.notes, std::vector<std::string>());
}

TEST(Writers, Dsc) {
    const Written written = WriteAs("dsc");
    EXPECT_EQ(written.text, R"(belief network "lawn"

node Rain
{
  name: "Rain < 5 & \"no\" \\ hail";
  type: discrete[2] = { "<5", "5+" };
  position: (0, 0);
  label: "Sky";
}

node Tap
{
  type: discrete[2] = { "off", "on" };
  position: (100, 0);
}

node Lawn
{
  name: "Lawn";
  type: discrete[3] = { "dry", "damp", "wet" };
  position: (0, 125);
}

node Joy
{
  type: continuous;
  position: (100, 125);
}

probability(Rain)
{
  0.3, 0.7;
}

probability(Lawn | Rain, Tap)
{
  (0, 0): 0.5, 0.25, 0.25;
  (0, 1): 0.1, 0.2, 0.7;
  (1, 0): 1, 0, 0;
  (1, 1): 9.9999994e-08, 0, 0.9999999;
}

probability(Joy | Lawn)
{
}
)");
    EXPECT_EQ(written.notes,
              std::vector<std::string>({"kinds (decision, utility) of 2 nodes are not kept by DSC",
                                        "state names of 1 node are not kept by DSC",
                                        "user fields of 1 node are not kept by DSC",
                                        "tables of 1 node are not kept by DSC",
                                        "experience tables of 1 node are not kept by DSC",
                                        "the comment of the net is not kept by DSC"}));
}

TEST(Writers, Bif) {
    const Written written = WriteAs("bif");
    EXPECT_EQ(written.text, R"(network lawn {
}
variable Rain {
  type discrete [ 2 ] { N_5, N5_ };
}
variable Tap {
  type discrete [ 2 ] { off, on };
}
variable Lawn {
  type discrete [ 3 ] { dry, damp, wet };
}
probability ( Rain ) {
  table 0.3, 0.7;
}
probability ( Lawn | Rain, Tap ) {
  (N_5, off) 0.5, 0.25, 0.25;
  (N_5, on) 0.1, 0.2, 0.7;
  (N5_, off) 1, 0, 0;
  (N5_, on) 9.9999994e-08, 0, 0.9999999;
}
)");
    EXPECT_EQ(
        written.notes,
        std::vector<std::string>(
            {"1 node without states is not kept by BIF", "titles of 1 node are not kept by BIF",
             "kinds (decision, utility) of 1 node are not kept by BIF",
             "state titles of 1 node are not kept by BIF",
             "positions of 3 nodes are not kept by BIF", "groups of 1 node are not kept by BIF",
             "user fields of 1 node are not kept by BIF",
             "experience tables of 1 node are not kept by BIF", "1 group is not kept by BIF",
             "the comment of the net is not kept by BIF"}));
}

}  // namespace
}  // namespace lumo::test
