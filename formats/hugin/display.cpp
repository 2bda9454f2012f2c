// Hugin files: the fields of the net or class. Display settings go to the drawing side, description
// and automatic updating to the net. Node groups are collected and become node sets at the end:
// version 5 lists them in HR_Groups_ fields, version 6 has a field HR_Group_<index>_<attribute> for
// each.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "formats/hugin/messages.h"
#include "formats/hugin/state.h"
#include "library/utilities/names.h"

namespace lumo::hugin {

namespace {

// ---- Tables --------------------------------------------------------------------------------

using Handler = void(Parser_CString_kt&, Vnet_kt&);
Handler parse_net_node_size, parse_net_HR_Node_Label_Style, parse_net_HR_Desc,
    parse_net_HR_Zoom_ZoomFactor, parse_net_HR_Groups_GroupColors, parse_net_HR_Groups_GroupNames,
    parse_net_HR_Groups_UserGroupsNo, parse_net_Ignore, parse_net_HR_Propagate_Auto,
    parse_net_HR_Font_Italic, parse_net_HR_Font_Weight, parse_net_HR_Font_Size,
    parse_net_HR_Font_Name, parse_net_HR_Grid_GridSnap, parse_net_HR_Grid_GridShow,
    parse_net_HR_Grid_Y, parse_net_HR_Grid_X, parse_net_HR_Group_, ParseNetTitle, PassNetList;

constexpr Field<Vnet_kt> NetFields[] = {
    {"node_size", parse_net_node_size},
    {"HR_Node_Label_Style", parse_net_HR_Node_Label_Style},
    {"HR_Desc", parse_net_HR_Desc},
    {"HR_Zoom_ZoomFactor", parse_net_HR_Zoom_ZoomFactor},
    {"HR_Groups_GroupColors", parse_net_HR_Groups_GroupColors},
    {"HR_Groups_GroupNames", parse_net_HR_Groups_GroupNames},
    {"HR_Groups_UserGroupsNo", parse_net_HR_Groups_UserGroupsNo},
    {"HR_Color_Interface", parse_net_Ignore},
    {"HR_Color_Instance", parse_net_Ignore},
    {"HR_Color_Utility", parse_net_Ignore},
    {"HR_Color_Decision", parse_net_Ignore},
    {"HR_Color_ContinuousChance", parse_net_Ignore},
    {"HR_Color_DiscreteChance", parse_net_Ignore},
    {"HR_Compile_TriangMethod", parse_net_Ignore},
    {"HR_Propagate_Auto", parse_net_HR_Propagate_Auto},
    {"HR_Font_Italic", parse_net_HR_Font_Italic},
    {"HR_Font_Weight", parse_net_HR_Font_Weight},
    {"HR_Font_Size", parse_net_HR_Font_Size},
    {"HR_Font_Name", parse_net_HR_Font_Name},
    {"HR_Grid_GridSnap", parse_net_HR_Grid_GridSnap},
    {"HR_Grid_GridShow", parse_net_HR_Grid_GridShow},
    {"HR_Grid_Y", parse_net_HR_Grid_Y},
    {"HR_Grid_X", parse_net_HR_Grid_X},
};
constexpr const char* GroupPrefix = "HR_Group_";

/// Those that are read leniently alone.
constexpr Field<Vnet_kt> LenientNetFields[] = {
    {"name", ParseNetTitle},
    {"label", ParseNetTitle},
    {"inputs", PassNetList},
    {"outputs", PassNetList},
};

constexpr int PaletteSize = 64;
constexpr int White = 0xFFFFFF;
constexpr double FullZoom = 100;    // per cent
constexpr double BoldWeight = 500;  // from here on a font is bold

/// Colour of a palette index: three colour levels, blue changing slowest and green fastest.
constexpr int PaletteColor(int index) {
    constexpr int outer[] = {255, 198, 132, 0};
    constexpr int green[] = {255, 195, 130, 0};
    return outer[index / 4 % 4] * 65536 + green[index % 4] * 256 + outer[index / 16];
}
static_assert(PaletteColor(0) == White && PaletteColor(63) == 0 && PaletteColor(1) == 0xFFC3FF);

constexpr bool InPalette(int index) { return index >= 0 && index < PaletteSize; }

// ---- Groups --------------------------------------------------------------------------------

UniqueNames_kt& Taken(Groups& groups) {
    if (groups.taken == nullptr) groups.taken = std::make_unique<UniqueNames_kt>();
    return *groups.taken;
}

/// The name made legal and unlike all group names so far, which it joins.
char* NewGroupName(Groups& groups, std::string_view name) {
    char buffer[ValueSize + 1];
    buffer[name.copy(buffer, ValueSize)] = '\0';
    return DupStr_kt(ToLegalUniqueName_kt(buffer, Taken(groups), 'G', sizeof buffer));
}

/// Whether one more group fits; otherwise an error, made once a list.
bool RoomForGroup(Parser_CString_kt& in, int groups) {
    if (groups < MaxNodesets) return true;
    in.report(msg::hugin.tooManyGroups, MaxNodesets);
    return false;
}

/// The tables, long enough for the group of that index.
void LengthenGroups(Groups& groups, int index) {
    while (groups.names.N <= index) groups.names.append(nullptr);
    while (groups.colors.N <= index) groups.colors.append(White);
}

NodesetStyle GroupStyle(const Groups& groups, const std::string& name, int index) {
    NodesetStyle style = DefaultStyle(name);
    if (index < groups.colors.N) {
        style.red = static_cast<unsigned char>(groups.colors[index] >> 16 & 255);
        style.green = static_cast<unsigned char>(groups.colors[index] >> 8 & 255);
        style.blue = static_cast<unsigned char>(groups.colors[index] & 255);
    }
    return style;
}

/// The group's own name, or one made of its number.
std::string GroupName(Groups& groups, int index) {
    if (index < groups.names.N && groups.names[index] != nullptr) return groups.names[index];
    std::string name = Taken(groups).unique(Format("Group_%02d", index + 1), 'G');
    Taken(groups).add(name);
    return name;
}

void JoinGroup(Parser_CString_kt& in, Bnode_bn& node, ParserPos_kt place,
               const vect_kt<nodeset_bn*>& sets) {
    if (node.groupIndex < 0) return;
    if (node.groupIndex < sets.N) {
        BndList_bn list;
        list.append(&node);
        if (sets[node.groupIndex] != nullptr) sets[node.groupIndex]->addNodes(list);
        return;
    }
    const ParserContext context(in, "node", node.name());
    in.setTokenStart(place);
    in.report(msg::hugin.unknownGroup, node.groupIndex, node.name(), sets.N);
}

}  // namespace

NodesetStyle DefaultStyle(const std::string& name) {
    NodesetStyle style;
    style.red = DefaultNodesetColor.red;
    style.green = DefaultNodesetColor.green;
    style.blue = DefaultNodesetColor.blue;
    style.setName(name.c_str());
    return style;
}

void BuildGroups(Parser_CString_kt& in, Bnet_bn& net, Vnet_kt& drawing) {
    Groups& groups = StateOf(in).groups;
    if (!groups.names.hasSome()) return;
    const int count = std::max({groups.count, groups.names.N, groups.colors.N});
    vect_kt<NodesetStyle> styles = drawing.nodesetStyles;
    vect_kt<nodeset_bn*> sets;
    for (int i = 0; i < count; ++i) {
        const std::string name = GroupName(groups, i);
        sets.append(net.newNodeset(name.c_str()));
        styles.append(GroupStyle(groups, name, i));
    }
    drawing.setNodesetStyles(styles, nullptr);
    for (int i = 0; i < net.nodes.N; ++i) {
        const auto at = static_cast<std::size_t>(i);
        JoinGroup(in, *net.nodes[i], at < groups.places.size() ? groups.places[at] : in.getPos(),
                  sets);
    }
}

FieldHandler<Vnet_kt> read_net_func(Parser_CString_kt& in, const char* name) {
    if (StateOf(in).lenient)
        if (const FieldHandler<Vnet_kt> handler = FindField(LenientNetFields, name)) return handler;
    if (const FieldHandler<Vnet_kt> handler = FindField(NetFields, name)) return handler;
    if (!HasPrefix_kt(GroupPrefix, name)) return nullptr;
    StateOf(in).groups.attribute = name + std::strlen(GroupPrefix);
    return parse_net_HR_Group_;
}

namespace {

// ---- Display settings ----------------------------------------------------------------------

void parse_net_node_size(Parser_CString_kt& in, Vnet_kt&) {
    dcoord_kt size;
    ReadDCoord(in, size);
}

// Read leniently alone.
void ParseNetTitle(Parser_CString_kt& in, Vnet_kt& drawing) {
    Bnet_bn& net = *drawing.getBNet();
    char text[ValueSize + 1];
    const ParserPos_kt place = in.tokenStart();
    ReadValue(in, text);
    in.setTokenStart(place);
    if (net.title != nullptr || *text == '\0') {
        in.reportUnknown(in.fieldName, msg::hugin.unknownField);
        return;
    }
    SetNetLabel(net, DupStr_kt(text));
    in.report(msg::hugin.titleFromField, in.fieldName);
}

// What a class shows to those that hold instances of it; the headers of these say it again.
void PassNetList(Parser_CString_kt& in, Vnet_kt&) { SkipField(in, in.getPos()); }

void parse_net_Ignore(Parser_CString_kt& in, Vnet_kt&) {
    char value[ValueSize + 1];
    ReadValue(in, value);
}

void parse_net_HR_Node_Label_Style(Parser_CString_kt& in, Vnet_kt& drawing) {
    int style = 0;
    read_int_string(in, style);
    drawing.labelStyle = style == 1 ? 0 : style == 2 ? 3 : 1;
}

void parse_net_HR_Desc(Parser_CString_kt& in, Vnet_kt& drawing) {
    strin_kt text;
    read_quoted_text(in, text);
    if (!text.isEmpty()) drawing.getBNet()->setComment(text.newCopy());
}

// A zoom that no drawing can have, or that leaves no finite scale, counts as none.
void parse_net_HR_Zoom_ZoomFactor(Parser_CString_kt& in, Vnet_kt& drawing) {
    double percent = 0;
    read_double_string(in, percent);
    drawing.zoomFactor = percent / FullZoom;
    if (drawing.zoomFactor > 0 && std::isfinite(FullZoom / drawing.zoomFactor)) return;
    in.report(msg::hugin.badZoom, percent);
    drawing.zoomFactor = 1;
}

void parse_net_HR_Propagate_Auto(Parser_CString_kt& in, Vnet_kt& drawing) {
    bool on = false;
    read_bool_string(in, on);
    const rept_kt* pending = in.curReport;
    if (pending == Okay_rept_kt || pending == nullptr || pending->severity < SeverityWarning) {
        drawing.getBNet()->setAutoUpdate(on);
    }
}

/// Gives the drawing a new font made from its present one: face (null keeps it), size (-1 keeps
/// it), and one style flag switched.
void ChangeFont(Vnet_kt& drawing, const char* face, int size, int flag = 0, bool on = false) {
    fontspec_kt spec(drawing.font->spec());
    spec.styleFlags = on ? spec.styleFlags | flag : spec.styleFlags & ~flag;
    const Fontobjv* old = std::exchange(drawing.font, NewFont_fc(face, size, &spec));
    FreeFont_fc(old);
}

void parse_net_HR_Font_Italic(Parser_CString_kt& in, Vnet_kt& drawing) {
    bool italic = false;
    read_bool_string(in, italic);
    ChangeFont(drawing, nullptr, -1, fontspec_kt::Italic, italic);
}

void parse_net_HR_Font_Weight(Parser_CString_kt& in, Vnet_kt& drawing) {
    double weight = 0;
    read_double_string(in, weight);
    ChangeFont(drawing, nullptr, -1, fontspec_kt::Bold, weight >= BoldWeight);
}

void parse_net_HR_Font_Size(Parser_CString_kt& in, Vnet_kt& drawing) {
    double size = 0;
    read_double_string(in, size);
    ChangeFont(drawing, nullptr, static_cast<int>(std::min(std::fabs(size), double{INT_MAX})));
}

void parse_net_HR_Font_Name(Parser_CString_kt& in, Vnet_kt& drawing) {
    char face[ValueSize + 1];
    ReadValue(in, face);
    ChangeFont(drawing, face, -1);
}

void parse_net_HR_Grid_GridSnap(Parser_CString_kt& in, Vnet_kt& drawing) {
    read_bool_string(in, drawing.snapToGrid);
}

void parse_net_HR_Grid_GridShow(Parser_CString_kt& in, Vnet_kt& drawing) {
    read_bool_string(in, drawing.showGrid);
}

void parse_net_HR_Grid_X(Parser_CString_kt& in, Vnet_kt& drawing) {
    read_double_string(in, drawing.grid.x);
}

void parse_net_HR_Grid_Y(Parser_CString_kt& in, Vnet_kt& drawing) {
    read_double_string(in, drawing.grid.y);
}

// ---- Groups of version 5 -------------------------------------------------------------------

void parse_net_HR_Groups_UserGroupsNo(Parser_CString_kt& in, Vnet_kt&) {
    int count = 0;
    read_int_string(in, count);
    if (count > MaxNodesets) {
        in.report(msg::hugin.groupCountTooHigh, count, MaxNodesets);
        return;
    }
    StateOf(in).groups.count = count;
}

// Palette indices of two digits each, without anything between them.
void parse_net_HR_Groups_GroupColors(Parser_CString_kt& in, Vnet_kt&) {
    Groups& groups = StateOf(in).groups;
    strin_kt text;
    read_quoted_text(in, text);
    std::string_view left = text.view();
    while (!left.empty() && RoomForGroup(in, groups.colors.N)) {
        const std::string pair(left.substr(0, 2));
        left.remove_prefix(pair.size());
        int index = 0;
        const char* rest = nullptr;
        LeadingInt(pair.c_str(), index, rest);
        if (*rest != '\0') in.report(msg::hugin.badGroupColors, pair.c_str());
        if (!InPalette(index)) {
            in.report(msg::hugin.colorsBeyondPalette, index);
            index = 0;
        }
        groups.colors.append(PaletteColor(index));
    }
}

// Names separated by tabs; a tab at the end does not start another name.
void parse_net_HR_Groups_GroupNames(Parser_CString_kt& in, Vnet_kt&) {
    Groups& groups = StateOf(in).groups;
    strin_kt text;
    read_quoted_text(in, text);
    std::string_view left = text.view();
    while (!left.empty() && RoomForGroup(in, groups.names.N)) {
        const std::string_view name = left.substr(0, left.find('\t'));
        left.remove_prefix(std::min(left.size(), name.size() + 1));
        if (name.size() > ValueSize) {
            in.report(msg::hugin.groupNameCut, static_cast<int>(name.size()), ValueSize);
        }
        groups.names.append(nullptr);  // first the place, so that the name has an owner
        groups.names[groups.names.N - 1] = NewGroupName(groups, name);
    }
}

// ---- Groups of version 6 -------------------------------------------------------------------

void NameGroup(Groups& groups, int index, std::string_view name) {
    const OwnedStr old(std::exchange(groups.names[index], NewGroupName(groups, name)));
    if (old != nullptr) Taken(groups).remove(old.get());
}

void ColorGroup(Parser_CString_kt& in, int index, const char* text) {
    int color = 0;
    if (!WholeInt(text, color)) {
        in.report(msg::hugin.badGroupColor, text);
    } else if (!InPalette(color)) {
        in.report(msg::hugin.colorBeyondPalette, color);
    } else {
        StateOf(in).groups.colors[index] = PaletteColor(color);
    }
}

void parse_net_HR_Group_(Parser_CString_kt& in, Vnet_kt&) {
    Groups& groups = StateOf(in).groups;
    strin_kt value;
    read_quoted_text(in, value);
    const std::size_t digits = std::strspn(groups.attribute, "0123456789");
    if (digits == 0) {
        in.report(msg::hugin.missingGroupIndex, groups.attribute);
        return;
    }
    int index = 0;
    const char* attribute = nullptr;
    if (!LeadingInt(groups.attribute, index, attribute) || index >= MaxNodesets) {
        in.report(msg::hugin.groupIndexTooHigh, static_cast<int>(digits), groups.attribute,
                  MaxNodesets);
        return;
    }
    LengthenGroups(groups, index);
    if (*attribute == '_') ++attribute;
    if (streqli_kt(attribute, "Name")) {
        NameGroup(groups, index, value.view());
    } else if (streqli_kt(attribute, "Color")) {
        ColorGroup(in, index, value.getCStr());
    } else if (!streqli_kt(attribute, "Description")) {
        in.report(msg::hugin.unknownGroupAttribute, attribute);
    }
}

}  // namespace

}  // namespace lumo::hugin
