// The net model: nets, nodes with their states, links and tables, node sets, and the drawing side.
//
// Ownership: a net owns everything in it. Strings handed over as char* are new[] and become the
// model's, also when the call fails; arrays of strings likewise, strings included; tables handed
// over as float* come from xmallocf_kt and become the model's, also when the call fails. const
// arguments are only read. Getters of text may give null: "absent".
//
// Reports: operations that return a rept_kt* return Okay_rept_kt or an error that was made but not
// shown (the caller records or throws it); warnings are shown by the operation itself.
//
// Threads: nothing here is global; nets in different threads do not meet. One net, one thread; but
// a net that nobody changes may be read in several, positions that are yet to be computed included.
#pragma once

#include <atomic>
#include <climits>
#include <cmath>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "library/reports/reports.h"
#include "library/utilities/Utils.h"
#include "library/utilities/geometry.h"

namespace LUMO_API lumo {

class Bnet_bn;
class Bnode_bn;
class Vnet_kt;
class nodeset_bn;
struct Reln_bn;

// ---- Limits and enumerations ---------------------------------------------------------------

inline constexpr int MaxTableEntries = 1 << 27;  ///< entries of one table
inline constexpr int MaxStates = 1'000'000;      ///< states of one node
inline constexpr int MaxNetStates = 10'000'000;  ///< states of all nodes of a net
inline constexpr int MaxNodesets = 10'000;       ///< node sets of one net

/// What a node is: chance, a choice, or what outcomes are worth.
enum NodeKindEN : unsigned char { NatureNode = 1, DecisionNode = 3, UtilityNode = 4 };
/// What a variable is: states, or a number that may be cut into intervals.
enum VarDiscreteEN : int { DiscreteVar = 0, ContinuousVar = 1 };
/// How much setters check: there is the one level.
enum CheckEN : int { CheckFull = 3 };

/// How a relation is held.
enum class RelnKindEN : unsigned char {
    none,           ///< no table
    table,          ///< probabilities (or counts not yet normalised)
    deterministic,  ///< probabilities whose rows are all 0/1
    noisyMax,       ///< noisy-max parameters, with the full table unless condensed
    real,           ///< real values, one per parent configuration (utility nodes)
};

// ---- Lists and products --------------------------------------------------------------------

/// A list of nodes; borrowed.
class BndList_bn : public vect_kt<Bnode_bn*> {};

/// Product of the nodes' numbers of states, 1 for an empty list; saturates at INT_MAX.
int NumProduct(const BndList_bn& list);

/// Number of noisy-max parameters of the node: its states x (1 + sum over parents of (parent states
/// - 1)); saturates at INT_MAX.
int NumCIParams(const Bnode_bn& node);

/// States of the node and of its parents.
int NumFamilyStates(const Bnode_bn& node);

/// Whether the numbers are the states of the node, then those of each parent, in some order.
bool IsFamilyOrder(const Bnode_bn& node, std::span<const int> order);

/// Appends the nodes' names joined by the separator, up to `limit` characters in all ("..." then).
void NodeNamesToStr(const BndList_bn& list, const char* separator, int limit, strin_kt& out);

// ---- Variables -----------------------------------------------------------------------------

/// A node's variable. Changed through the node only, which owns its texts.
struct Varbl_bn {
    char* name = nullptr;          ///< a legal name, unique in the net
    char** stateNames = nullptr;   ///< null, or numStates entries, each legal and distinct, or null
    char** stateTitles = nullptr;  ///< null, or numStates entries, each may be null
    char** stateComments = nullptr;  ///< null, or numStates entries, each may be null
    double* levels = nullptr;        ///< null, or numLevels values, from new[]; the
                                     ///< outermost bounds may be infinite
    int numStates = 2;               ///< 0 for a variable without states
    int numLevels = 0;  ///< numStates: the states' values; numStates + 1: the bounds of intervals
    bool discrete = true;       ///< false: continuous (numStates intervals when it has any)
    bool titlesAreIds = false;  ///< the file refers to the states by their titles

    Varbl_bn() = default;
    Varbl_bn(const Varbl_bn&) = delete;
    Varbl_bn& operator=(const Varbl_bn&) = delete;
    ~Varbl_bn();
};

/// Bytes that a buffer for statetostr1 needs.
inline constexpr int StateTextSize = MaxNameLength + 1;

/// Writes the state's name into buffer (StateTextSize bytes) and returns it. A state without a name
/// gives its title cut to fit, else its value, else "#k" with its index.
char* statetostr1(int state, const Varbl_bn& variable, char* buffer);

// ---- Relations -----------------------------------------------------------------------------
// Tables are row-major: one row per combination of parent states, the child's state fastest, the
// last parent next, the first parent slowest. Experience: one value per row.

/// A node's probability relation. Embedded in its node.
struct Reln_bn {
    Bnode_bn* node = nullptr;            ///< the node it belongs to
    RelnKindEN kind = RelnKindEN::none;  ///< how, and with that which of the tables are there
    bool rowsNormalized = false;         ///< every row of probs is known to sum to 1 (or to 0)
    bool rowAgainTold = false;           ///< the warning about a row given twice was shown
    bool noiseTold = false;              ///< the warning about rounding noise was shown
    bool probsInArena = false;           ///< probs is part of the net's own memory
    bool exactInArena = false;           ///< likewise exact
    bool saidDeterministic = false;      ///< the file calls it so, not only its numbers
    bool experFromCounts = false;  ///< exper is the sums of the rows of counts that the file has
    float* probs = nullptr;        ///< full table, rows x states; null for none, real, condensed
    float* exper = nullptr;        ///< experience, one per row; may be null
    float* reals = nullptr;        ///< real table, one per row (times the states, if there are any)
    /// probs, or reals, in double precision, in the same order; null where the shortest decimals of
    /// the floats say all that the file says. Whatever changes the floats changes or drops it.
    double* exact = nullptr;
    double* exactExper = nullptr;  ///< likewise exper
    double* params = nullptr;      ///< noisy-max parameters, NumCIParams of the node
    /// Of a noisy-max whose weakest states are not the first ones: the states of the node, then of
    /// each parent, from the weakest up, NumFamilyStates in all. The parameters then count states
    /// in that order. Null: their own order is that.
    int* order = nullptr;
    unsigned char* rowMarks = nullptr;  ///< while rows are set singly: how each was given

    Reln_bn() = default;
    Reln_bn(const Reln_bn&) = delete;
    Reln_bn& operator=(const Reln_bn&) = delete;
    ~Reln_bn();

    /// Drops tables, parameters and experience: kind none.
    void clear();

    /// Installs a real table (one value per parent configuration; owned from now on), dropping what
    /// was there. Returns an error for a value that is not finite.
    rept_kt* setRealTable(float* table, Reln_bn* = nullptr);
    /// Likewise, with the same numbers in double precision where they say more.
    rept_kt* setReals(XArray<float> table, XArray<double> exact);

    /// Sets or removes (null) the experience table (one value per row; owned from now on), with
    /// that in double precision where it says more.
    void setExperTable(float* table, double* exact = nullptr);

    /// Leaves out what single precision does not hold.
    void dropExact();

    /// Scales every row of probs to sum 1 and multiplies the row's experience by its former sum,
    /// unless that was within the tolerance of 1. Where a row needs one and there was none, the
    /// experience table (all 1) is created. A row of sum 0 stays, with one warning a node; so does
    /// one whose sum is 1 but for the rounding of floats. Computed in double precision.
    void normalize_(double tolerance = 0);

    /// Scales the rows whose sums differ from 1 by no more than that as normalize_ does, without a
    /// word and without experience. Returns how many.
    int scaleRows(double most = HUGE_VAL);

    /// Rounds experience within the tolerance of whole numbers to them.
    void snapExperience(double tolerance);

    /// Makes positive numbers that single precision rounds to 0 the smallest positive float, so
    /// that nothing possible is impossible; a deterministic relation becomes a table then, as it
    /// does when it is not exactly one. Returns how many numbers they were.
    int keepPossible();

    /// Makes the relation deterministic when every row holds one 1 and zeros otherwise (tested
    /// exactly). Returns whether it did.
    bool makeDeterminFromProbs(bool = false);

private:
    bool scaleExperience(int row, int rows, double sum, double exactSum);
};

/// Whether a negative entry of a table is close enough to 0 to count as 0.
inline bool IsRoundingNoise(float value) { return value < 0 && value > -1e-5F; }

/// Scales each of `rows` rows of `states` values to sum 1; rows that sum to zero stay as they are,
/// and those whose sum is 1 but for the rounding of floats. Returns the number of rows of zeros.
/// Sums are taken in double. exact: the table in double precision, null where floats hold it; it
/// may come to be.
int NormalizeBelvecTable(float* table, int states, int rows, XArray<double>* exact = nullptr);

/// The same for one row that is there in both precisions.
void NormalizeRow(float* row, double* exact, int states);

/// Scales a row of doubles that does not sum to 1, as normalising does; a row that floats hold is
/// one of floats.
void ScaleToOne(double* row, int states);

/// Rounds each value within the tolerance of an integer to it; a null table is nothing.
void SnapToInteger_kt(float* values, int count, double tolerance);

/// The noisy-max probability table of the node by its definition: state 0 is every parent's neutral
/// state and the child's lowest state. Parameters: parents in link order, each parent's states from
/// 1 up, one distribution over the child's states each, then the leak distribution. Row i of the
/// result is the distribution of the maximum of independent draws, one from each parent not in its
/// state 0, and one from the leak. States are counted in the order, if there is one
/// (Reln_bn::order). out holds rows x states entries.
void ExpandNoisyMax(const Bnode_bn& node, const double* params, const int* order, double* out);

// ---- Nodes ---------------------------------------------------------------------------------

struct Vnode_kt;

/// A node's visual nodes: one for the net's visual net. It reads like an array and holds its only
/// entry in itself.
class VisualNodes_bn {
public:
    int N = 0;  ///< 1, or 0 before there is one

    bool hasSome() const { return N > 0; }               ///< whether there is one
    Vnode_kt* operator[](int) const { return only_; }    ///< the one, of index 0
    Vnode_kt* const* begin() const { return &only_; }    ///< for loops
    Vnode_kt* const* end() const { return &only_ + N; }  ///< behind the last
    /// Makes it the one; the visual net owns it.
    void append(Vnode_kt* vnode) {
        only_ = vnode;
        N = 1;
    }

private:
    Vnode_kt* only_ = nullptr;
};

/// A named user field: bytes of any kind.
struct UserField {
    std::string name;  ///< of which a node has one; case counts
    std::string data;  ///< of a text mostly with the zero byte at its end: FieldText (describe.h)
};

/// A node of a net, made by NewNode_ibn and owned by the net.
class Bnode_bn {
public:
    Varbl_bn variable;  ///< its name and states
    // Windows onto storage of the net: only read or copied.
    BndList_bn parents;            ///< in link order
    BndList_bn family;             ///< the node itself, then its parents
    Reln_bn relation;              ///< its table
    VisualNodes_bn vns;            ///< its visual nodes; owned by the visual net
    strin_kt importNotes;          ///< a text that readers may append to; not part of the net
    char* title = nullptr;         ///< what people call it; owned, null when not said
    char* comment = nullptr;       ///< what is said of it; owned, null when nothing is
    int groupIndex = -1;           ///< Hugin group, -1 for none
    NodeKindEN kind = NatureNode;  ///< changed by setKind alone

    const char* name() const { return variable.name; }    ///< legal, unique in the net
    int numStates() const { return variable.numStates; }  ///< 0 of a variable without states
    Bnet_bn& net() const { return *net_; }                ///< that it is in
    int place() const { return index_; }                  ///< in the net's list of nodes
    /// The text that the file names the node by, when that is not its name; else null.
    const char* identity() const;
    const std::vector<UserField>& userFields() const;  ///< in the order of their first setting
    const std::vector<nodeset_bn*>& nodesets() const;  ///< in the order of joining

    // States. Names, titles and comments handed over are owned by the node from then on.

    /// Sets the number of states (0 to MaxStates) and replaces names, titles, comments and levels.
    /// names: null or `count` entries. levels: null, or count values of a discrete variable, or
    /// one bound more than states of a continuous one; a new[] array that the node takes. Drops the
    /// node's table and those of its children when the count changes. Errors: a count that is out
    /// of range, illegal names or equal names (and then nothing changes).
    rept_kt* setStates(int count, char** names = nullptr, double* levels = nullptr,
                       const int* = nullptr, const int* = nullptr, CheckEN = CheckFull);
    /// Likewise without levels, from texts that are only read: the quick way for the usual case.
    /// False, and nothing changes, when they are more than FewStates, illegal or equal, or too much
    /// for the net.
    bool setFewStates(std::span<const std::string_view> names);
    static constexpr std::size_t FewStates = 8;  ///< the most that setFewStates takes
    /// All names, numStates entries, which may be null (null removes them). An illegal name or two
    /// equal ones are an error, and nothing changes.
    rept_kt* setStateNames(char** names, CheckEN = CheckFull);
    /// Sets one state's name; a name that another state has gets a number appended. A state that is
    /// none is a warning, and the string is freed.
    rept_kt* setStateName(int state, char* name, int = 0, CheckEN = CheckFull);
    /// Sets one state's title, null removes it; a state that is none is a warning.
    rept_kt* setStateTitle(int state, char* text, CheckEN = CheckFull);
    void setStateTitles(char** texts);  ///< all titles (numStates entries), null removes them
    /// Likewise its comment.
    rept_kt* setStateComment(int state, char* text);

    // Attributes.
    void setTitle(char* text);  ///< null removes it
    /// Removes the title.
    void setTitle(std::nullptr_t) { setTitle(static_cast<char*>(nullptr)); }
    void setTitle(std::string_view text);  ///< from a text that is only read
    void setComment(char* text);           ///< null removes it
    /// Makes it a node of that kind; its table stays as it is. Always Okay_rept_kt.
    rept_kt* setKind(NodeKindEN kind, CheckEN = CheckFull);
    /// ContinuousVar makes the variable continuous without states (a later setStates may cut it
    /// into intervals); DiscreteVar makes it discrete.
    rept_kt* setDiscrete(VarDiscreteEN what, bool = false, CheckEN = CheckFull);
    void setUserField(const char* name, const void* data, int length);  ///< replaces an equal name
    void removeUserFields();                                            ///< all of them

    // Structure.

    /// Replaces the parents by the list, in order. A parent that would close a cycle, or is the
    /// node itself, is left out and an error returned that names both nodes; one named twice is
    /// left out with a warning. The same parents in the same order keep the table; else it is
    /// dropped.
    rept_kt* changePreds(const BndList_bn& list, vect_kt<int>* = nullptr, bool = true, int = 1,
                         int = 1, bool = false);

    // Tables.

    /// Installs the whole table (rows x states values from xmallocf_kt, owned from now on).
    /// normalized: the caller has normalised the rows (rows of zeros get their warning here). For a
    /// nature or decision node a NaN, an infinity or a negative entry is an error that names the
    /// node and the first bad entry, and nothing is installed; an entry above -1e-5 becomes 0 with
    /// one warning. For a utility node any finite numbers are installed as its real table; the
    /// count is then that of the rows (times states, when it has any).
    rept_kt* setProbsTable(float* table, bool normalized = false, CheckEN = CheckFull);
    /// Likewise, with the same numbers in double precision where they say more.
    rept_kt* setTable(XArray<float> table, XArray<double> exact, bool normalized = false);

    /// Sets the rows that match the parent states (one per parent; AnyParentState matches all) to
    /// the probabilities (one per state; only read). The first such call makes the table, zeros. A
    /// row given singly twice is set to the later one, with a warning (one a node).
    rept_kt* setProbsEntry2(const int* parentStates, const float* probs, bool = true,
                            CheckEN = CheckFull);
    /// Likewise, with the same numbers in double precision where they say more; null: they do not.
    rept_kt* setRow(const int* parentStates, const float* probs, const double* exact);

    /// Ends the setting of rows: warns how many of how many rows were never given.
    void finishRows();

    /// Turns the node into a noisy-max node; params holds NumCIParams values (only read). condense:
    /// the parameters alone are kept; otherwise the full table is made too. Errors: a parameter
    /// outside 0 to 1, a distribution that does not sum to 1 within 1e-3, a table too large to
    /// expand.
    rept_kt* makeIntoNoisyMax(const double* params, bool condense);
    /// The same with states counted in an order of strength (Reln_bn::order; only read), null for
    /// their own.
    rept_kt* makeIntoNoisyMax(const double* params, const int* order, bool condense);

    /// Warns when a row of a nature node's table does not sum to 1 within 1e-3, naming the first
    /// such row, and says so when the table would sum to 1 read with the child's state slowest.
    /// Rows of zeros are named as such. For readers that do not normalise.
    void checkRowSums() const;

    Bnode_bn(const Bnode_bn&) = delete;
    Bnode_bn& operator=(const Bnode_bn&) = delete;

private:
    friend class Bnet_bn;
    friend struct ModelAccess;  // the model's own files
    Bnode_bn() = default;
    ~Bnode_bn();

    enum class IdentityEN : unsigned char { none, name, text };

    IdentityEN identity_ = IdentityEN::none;  // the text that readers know it by
    bool autoNamed_ = false;                  // its name was made up by NewNode_ibn
    Bnet_bn* net_ = nullptr;
    struct Extras;  // user fields, node sets, identity text: most nodes have none
    std::unique_ptr<Extras> extras_;
    long long order_ = 0;                  // topological label: parents have lower ones
    int orderPrev_ = -1, orderNext_ = -1;  // neighbours in topological order
    int index_ = 0;                        // place in the net's node list
    int firstChild_ = -1;                  // its links to children, in the net's link store
    int linksFrom_ = 0;                    // links to it that are older were replaced
    unsigned mark_ = 0;                    // stamp of the last search that met the node
};

inline constexpr int AnyParentState = -5;  ///< see Bnode_bn::setProbsEntry2

// ---- Node sets -----------------------------------------------------------------------------

/// The display style of a node set.
struct NodesetStyle {
    unsigned char red = 255;       ///< of the colour, as the next two; 0 to 255
    unsigned char green = 255;     ///< likewise
    unsigned char blue = 255;      ///< likewise
    unsigned char colorTag = 17;   ///< always 17: the colour is one of these three
    unsigned char colorPad = 255;  ///< always 255
    unsigned char flags = 0;       ///< always 0
    char name[32] = {};            ///< the set's name, cut to 31 characters

    void setName(const char* text);  ///< cuts a longer one
};

/// A colour.
struct RGB {
    unsigned char red;    ///< 0 to 255, as the next two
    unsigned char green;  ///< likewise
    unsigned char blue;   ///< likewise
};
/// The colour of a node set that is given none.
inline constexpr RGB DefaultNodesetColor = {255, 255, 204};

/// A named set of nodes; owned by its net.
class nodeset_bn {
public:
    const std::string& name() const { return name_; }   ///< unique in the net
    const BndList_bn& nodes() const { return nodes_; }  ///< in the order of joining
    /// Adds the nodes; one that is a member already is passed over.
    void addNodes(const BndList_bn& nodes, bool = true);

private:
    friend struct ModelAccess;
    explicit nodeset_bn(std::string name) : name_(std::move(name)) {}
    std::string name_;
    BndList_bn nodes_;
};
/// A net's own handle of a set.
using OwnedNodeset = std::unique_ptr<nodeset_bn, void (*)(nodeset_bn*)>;

// ---- The drawing side ----------------------------------------------------------------------

/// A font description.
struct fontspec_kt {
    static constexpr int Bold = 1;    ///< of styleFlags
    static constexpr int Italic = 2;  ///< of styleFlags
    std::string face = "Arial";       ///< the family's name
    int size = 12;                    ///< in points
    int styleFlags = 0;               ///< Bold, Italic, both or none
};

/// A font object.
class Fontobjv {
public:
    const fontspec_kt& spec() const { return spec_; }  ///< what it was made from

private:
    friend Fontobjv* NewFont_fc(const char*, int, const fontspec_kt*);
    friend void FreeFont_fc(const Fontobjv*);
    fontspec_kt spec_;
};

/// A new font from the base (the default one when null), with the face (null keeps it) and size (-1
/// keeps it) replaced. Free with FreeFont_fc.
Fontobjv* NewFont_fc(const char* face, int size, const fontspec_kt* base);
/// Deletes a font of NewFont_fc; null is allowed.
void FreeFont_fc(const Fontobjv* font);

/// A node on a drawing.
struct Vnode_kt {
    Bnode_bn* node = nullptr;  ///< that it shows; the net's

    /// Shows that node, there.
    explicit Vnode_kt(coord_kt position, Bnode_bn* itsNode = nullptr)
        : node(itsNode), position_(position) {}

    /// Where it stands; the first to ask for a place that the automatic layout is to find has the
    /// whole drawing laid out.
    coord_kt position() const;
    void moveTo(coord_kt position);  ///< puts it there; an awaited layout is made first
    /// Moves by the offset, clamped to the int range. The flag (0 or 1) asks for a redraw: nothing
    /// here.
    void moveBy(coord_kt offset, int);
    void shiftBy(coord_kt offset);  ///< moveBy without a redraw

private:
    friend class Vnet_kt;
    coord_kt position_;
};

/// Visual nodes; borrowed.
using VnodeList_kt = vect_kt<Vnode_kt*>;
struct undo_vnetNodesets;  ///< of an application's undo; none here

/// What a drawing waits for whose nodes the automatic layout is to place.
struct AwaitedLayout {
    rect_kt area{};      ///< where the nodes are to stand
    double spacing = 1;  ///< scales the gaps between nodes
    coord_kt margin{};   ///< of the extent around the positions
};

/// The drawing side of a net; owned by it.
class Vnet_kt {
public:
    VnodeList_kt vnodes;          ///< in node order
    coord_kt marginUnit{20, 20};  ///< FitMargin (placing.h) leaves room in these around the nodes
    int drawStyle = 0;            ///< 7: a labelled box with its states, as imported nets are drawn
    int labelStyle = 1;           ///< 0 name, 1 title (the default), 3 name and title
    double zoomFactor = 1.0;      ///< as the file has it; 1.0 is 100 per cent
    Fontobjv* font;               ///< owned; replaced through NewFont_fc and FreeFont_fc
    dcoord_kt grid{10.0, 10.0};   ///< its steps, in units of the drawing
    bool showGrid = false;        ///< whether an editor is to show it
    bool snapToGrid = false;      ///< whether an editor is to put nodes on it
    vect_kt<NodesetStyle> nodesetStyles;  ///< of some node sets or all, by their names
    bool laidOut = false;  ///< the positions are, or will be, those of the automatic layout

    Bnet_bn* getBNet() const { return net_; }  ///< whose drawing it is

    /// Leaves the nodes to the automatic layout (Layout, with that area and spacing), which runs
    /// when somebody asks for a position or the extent, or changes some.
    void awaitLayout(const AwaitedLayout& wish);
    /// What the positions wait for; null when they are known.
    const AwaitedLayout* awaited() const { return awaitsLayout_ ? &wish_ : nullptr; }
    /// Whether a position is told without running the layout for it.
    bool arePlacesKnown() const { return !awaitsLayout_ || places_.load() != nullptr; }
    /// Ends the waiting.
    void settle();

    /// Width and height of the drawing.
    coord_kt extent() const;
    void setExtent(coord_kt extent);  ///< sets them, wherever the nodes are

    /// The rectangle of the visual nodes' positions; all zero when there is none.
    void findExtent(rect_kt& out) const;
    /// Sizes the drawing extent to the positions plus the margin, clamped to the int range; when
    /// they wait for the layout, it is sized with them.
    void adjustDrawingSizeToFit(coord_kt margin);
    /// Replaces the node-set styles by a copy of the list; the undo record is null.
    void setNodesetStyles(const vect_kt<NodesetStyle>& styles, undo_vnetNodesets*);
    /// Re-forms all visual nodes after a layout. There is no screen here: it sizes nothing and only
    /// sees to it that the positions are current.
    void reformAllAndRedraw(bool = true, bool = true, int = -1);

    Vnet_kt(const Vnet_kt&) = delete;
    Vnet_kt& operator=(const Vnet_kt&) = delete;

private:
    friend class Bnet_bn;
    friend struct ModelAccess;
    friend struct Vnode_kt;
    explicit Vnet_kt(Bnet_bn* net);
    ~Vnet_kt();
    const std::vector<coord_kt>& places() const;

    Bnet_bn* net_;
    coord_kt extent_{};
    bool awaitsLayout_ = false;
    AwaitedLayout wish_;
    // Threads that ask at once may each compute it, for nobody to wait: the results are equal.
    mutable std::atomic<const std::vector<coord_kt>*> places_ = nullptr;
};

/// Places the nodes automatically: layered (longest path), parents above children, median ordering,
/// no two nodes overlapping, centred in the area (which is grown downwards and to the right when it
/// is too small); deterministic; good for 100,000 nodes in seconds. The bools are false, false,
/// true (parents above); spacing scales the gaps between nodes.
void Layout(VnodeList_kt& vnodes, const rect_kt& area, bool, bool, bool, double spacing);
/// The places that Layout gives the nodes, which stay where they are.
std::vector<coord_kt> LayoutPlaces(const VnodeList_kt& vnodes, const rect_kt& area, double spacing);

/// Size of a drawn node with a label of that many characters, as Layout and the pictures assume it.
/// It does not grow beyond 40 characters: pictures cut longer labels.
coord_kt NodeSize(int labelLength);

// ---- Nets ----------------------------------------------------------------------------------

/// A net and its drawing side.
class Bnet_bn {
public:
    char* name = nullptr;             ///< legal; owned
    char* title = nullptr;            ///< owned, may be null
    char* comment = nullptr;          ///< owned, may be null
    BndList_bn nodes;                 ///< owned, in the order of creation
    char* fileName = nullptr;         ///< owned, from new[]
    long long changeMarker = 0;       ///< goes up with every change
    long long savedChangeMarker = 0;  ///< its value when the net was last saved
    vect_kt<Vnet_kt*> vnets;          ///< owned; the module uses the first
    bool autoUpdate = false;          ///< whether beliefs are to be computed after each change

    ~Bnet_bn();
    Bnet_bn(const Bnet_bn&) = delete;
    Bnet_bn& operator=(const Bnet_bn&) = delete;

    /// The node that the text names: by identity text (the label given to SetNodeLabel, or the name
    /// handed to NewNode_ibn), else by name. Null when none.
    Bnode_bn* findNodeLabeled(const char* text) const;
    /// Likewise.
    Bnode_bn* findNodeLabeled(std::string_view text) const;
    /// The same, quickly when it is the node of that place: files mostly give the tables in the
    /// order of the nodes.
    Bnode_bn* findNodeLabeled(std::string_view text, int place) const;

    /// The node set of that name, a new one when there is none yet; null above MaxNodesets.
    nodeset_bn* newNodeset(const char* setName, const NodesetStyle* = nullptr,
                           const nodeset_bn* = nullptr);
    nodeset_bn* findNodeset(std::string_view setName) const;  ///< null when there is none
    const std::vector<OwnedNodeset>& nodesets() const;        ///< in the order of their making

    void setComment(char* text);               ///< takes the string; null removes the comment
    void setAutoUpdate(bool on, bool = true);  ///< sets autoUpdate

private:
    friend struct ModelAccess;
    friend Bnet_bn* NewVBNet(char*, bool);
    Bnet_bn();
    struct Index;  // names, identities, topological order, node sets
    std::unique_ptr<Index> index_;
};

/// A new empty net with one visual net. Takes the name, a legal one.
Bnet_bn* NewVBNet(char* name, bool = false);

/// A new node at the end of the net, with a visual node at the position in the net's visual nets.
/// The name's legal, unique form becomes the node's name and the text as given its identity; null:
/// a name is made up, which gives way when a label wants it. Null, and an error report recorded
/// nowhere but shown by the caller through *error, when a node of that identity exists or the
/// number of states is out of range.
Bnode_bn* NewNode_ibn(const char* name, int numStates, Bnet_bn& net, coord_kt position,
                      rept_kt** error = nullptr);

/// Takes the nodes out of the net, with their links, their places in node sets and their tables.
/// Children keep their other parents and lose their tables. The nodes themselves live on, in no
/// list, as long as the net. The others keep their order. Linear in the net, however many go.
void RemoveNodes_ibn(Bnet_bn& net, const BndList_bn& list);

/// Takes all node sets away, and their styles.
void RemoveNodesets_ibn(Bnet_bn& net);

/// A new node with that label, as NewNode_ibn without a name and SetNodeLabel make it, in half the
/// time: no name is made up first. Null, and nothing changes, unless the label is a legal name that
/// no node has or is known by, and unlike those that are made up.
Bnode_bn* NewLabeledNode(std::string_view label, int numStates, Bnet_bn& net, coord_kt position);

/// Adds a link at the end of the child's parents and drops the child's table. Error: a link to
/// itself or one that closes a cycle (both nodes named; nothing changes). A parent named again is a
/// warning and passed over. Keeps an incremental topological order: near-linear over a million
/// links.
rept_kt* AddLink_ibn(Bnode_bn& parent, Bnode_bn& child);

/// Gives the node that many states from the labels (an array of strings it takes; null: unnamed).
/// When all labels are legal and distinct they become names; otherwise all are titles and, when
/// createNames is set, legal unique names are made from them. Returns an error for a refused count.
rept_kt* SetStatesToLabels(Bnode_bn& node, char** labels, int count, bool createNames);

/// Labels the node (takes the string). A label that is a legal name not taken becomes the name and
/// no title is set; otherwise the label becomes the title and the name a legal unique form of it. A
/// label that another node has is a warning (labelExists); the first node keeps the identity.
rept_kt* SetNodeLabel(Bnode_bn& node, char* label);
/// Makes the text what findNodeLabeled knows the node by, whatever its name and title; one that no
/// other node has.
void SetNodeIdentity(Bnode_bn& node, const char* text);
void SetNetLabel(Bnet_bn& net, char* label);  ///< sets the net's title, which takes the string

/// Moves the node's visual node in the given visual net (null: its first) to the position.
void SetNodeVisPosition_ibn(Bnode_bn& node, coord_kt position, Vnet_kt*);

/// Adds the node to the named set, creating it if needed. Error: above MaxNodesets.
rept_kt* AddNodeToNodeset_ibn(Bnode_bn& node, const char* setName);

/// A name for messages: null for absent text and for 16-bit text.
inline const char* Printable(const char* text) {
    return text == nullptr || Is16Bit_kt(text) ? nullptr : text;
}

}  // namespace lumo
