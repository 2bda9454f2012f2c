// A net as programs like to have it: a view over the model (Bnet_bn), and no second one. Handles
// are values: copies are the same net, node or state. A net lives as long as a Net has it, its
// nodes as long as the net; there is nothing to free. Texts are views of the net's own.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "formats/shared/result.h"
#include "library/model/netmodel.h"

namespace LUMO_API lumo {

/// What is made of an index, one after the other.
template <class MAKE>
class IndexedRange {
    class Iterator {
    public:
        using iterator_concept = std::forward_iterator_tag;
        using iterator_category = std::input_iterator_tag;
        using value_type = decltype(std::declval<const MAKE&>()(0));
        using difference_type = std::ptrdiff_t;
        using reference = value_type;
        using pointer = void;

        Iterator() = default;
        Iterator(MAKE make, int index) : make_(make), index_(index) {}
        value_type operator*() const { return make_(index_); }
        Iterator& operator++() {
            ++index_;
            return *this;
        }
        Iterator operator++(int) { return {make_, index_++}; }
        bool operator==(const Iterator& other) const { return index_ == other.index_; }

    private:
        MAKE make_{};
        int index_ = 0;
    };

public:
    /// The first so many.
    IndexedRange(MAKE make, int size) : make_(make), size_(size) {}
    /// The first, as a forward iterator.
    Iterator begin() const { return {make_, 0}; }
    /// Behind the last.
    Iterator end() const { return {make_, size_}; }
    /// How many there are.
    std::size_t size() const { return static_cast<std::size_t>(size_); }
    /// Whether there are none.
    bool empty() const { return size_ == 0; }
    /// The one of that index, which is from 0 and below the size.
    auto operator[](int index) const { return make_(index); }

private:
    MAKE make_;
    int size_;
};

/// How a change went: true when it was made, else nothing changed and the report says why.
struct Outcome {
    ReportRecord report;  ///< of a change that was refused
    /// Whether it was made.
    explicit operator bool() const { return report.severity <= SeverityWarning; }
};

/// A state of a node. Texts that are absent are empty.
class State {
public:
    /// The variable's state of that index.
    State(const Varbl_bn& variable, int index) : variable_(&variable), index_(index) {}

    /// Its place among the node's states, from 0.
    int index() const { return index_; }
    /// Its name, which is legal and no other state's.
    std::string_view name() const { return textOf(variable_->stateNames); }
    /// What people call it.
    std::string_view title() const { return textOf(variable_->stateTitles); }
    /// What is said of it.
    std::string_view comment() const { return textOf(variable_->stateComments); }
    /// The name, else the title.
    std::string_view label() const { return name().empty() ? title() : name(); }
    /// The number that the state stands for, where it stands for one.
    std::optional<double> value() const;

private:
    std::string_view textOf(char* const* texts) const {
        const char* const text = texts == nullptr ? nullptr : texts[index_];
        return text == nullptr ? std::string_view() : text;
    }
    const Varbl_bn* variable_;
    int index_;
};

/// A node's table: a row for each combination of the parents' states, the last parent's changing
/// fastest; in a row a number for each of the node's states, or, of a utility node, one. Empty
/// where the node has none, or noisy-max parameters alone.
class Table {
public:
    /// The table that the node has now.
    explicit Table(const Bnode_bn& node);

    /// Whether there are no numbers.
    bool empty() const { return floats_.empty(); }
    /// How many combinations of the parents' states there are.
    std::size_t rows() const { return empty() ? 0 : floats_.size() / columns_; }
    /// How many numbers a row has.
    std::size_t columns() const { return columns_; }

    /// All numbers, in single precision.
    std::span<const float> numbers() const { return floats_; }
    /// All in double precision, where the file says more than floats hold; else empty.
    std::span<const double> exact() const { return exact_; }

    /// The row of the parents' states, given by their indexes; empty when there is no such row.
    std::span<const float> row(std::span<const int> parentStates) const;
    /// Likewise.
    std::span<const float> row(std::initializer_list<int> parentStates) const {
        return row(std::span(parentStates.begin(), parentStates.size()));
    }
    /// The row of that number, from 0.
    std::span<const float> row(std::size_t index) const {
        return floats_.subspan(index * columns_, columns_);
    }
    /// A number as the file has it: of 0.1 the double 0.1.
    double number(std::size_t row, std::size_t column) const;

private:
    const Bnode_bn* node_;
    std::size_t columns_;
    std::span<const float> floats_;
    std::span<const double> exact_;
};

/// A node; false when it is none. Two are equal when they are the same node.
class Node {
    friend class Net;
    struct StateAt {
        const Bnode_bn* node = nullptr;
        State operator()(int index) const { return {node->variable, index}; }
    };
    struct NodeAt {
        Bnode_bn* const* nodes = nullptr;
        Node operator()(int index) const { return *nodes[index]; }
    };

public:
    /// None.
    Node() = default;
    /// One of the model's, wherever a node is wanted.
    Node(Bnode_bn& node) : node_(&node) {}

    /// Whether it is one.
    explicit operator bool() const { return node_ != nullptr; }
    /// Whether both are the same node.
    bool operator==(const Node&) const = default;

    /// Its name, which is legal and no other node's.
    std::string_view name() const { return node_->name(); }
    /// What people call it; empty when that is not said.
    std::string_view title() const { return textOf(node_->title); }
    /// What is said of it; empty likewise.
    std::string_view comment() const { return textOf(node_->comment); }
    /// Nature, decision or utility.
    NodeKindEN kind() const { return node_->kind; }
    /// Whether its variable has states of its own, and is not a number cut into intervals.
    bool isDiscrete() const { return node_->variable.discrete; }
    /// How its table is held.
    RelnKindEN relationKind() const { return node_->relation.kind; }

    /// In the table's order.
    IndexedRange<StateAt> states() const { return {StateAt{node_}, node_->numStates()}; }
    /// In link order.
    IndexedRange<NodeAt> parents() const {
        return {NodeAt{node_->parents.begin()}, node_->parents.N};
    }
    /// Its table as it is now: a change of the node ends what was seen of it.
    Table table() const { return Table(*node_); }

    /// An empty text removes the title.
    void setTitle(std::string_view text);
    /// Likewise.
    void setComment(std::string_view text);
    /// In that order; another list than before drops the table.
    Outcome setParents(std::span<const Node> parents);
    /// Likewise.
    Outcome setParents(std::initializer_list<Node> parents) {
        return setParents(std::span(parents.begin(), parents.size()));
    }
    /// The whole table, in the order that Table has.
    Outcome setTable(std::span<const double> numbers);
    /// Likewise.
    Outcome setTable(std::initializer_list<double> numbers) {
        return setTable(std::span(numbers.begin(), numbers.size()));
    }
    /// One row, of the parents' states by their indexes; the first one makes the table, of zeros.
    Outcome setRow(std::span<const int> parentStates, std::span<const double> numbers);
    /// Likewise.
    Outcome setRow(std::initializer_list<int> parentStates, std::initializer_list<double> numbers) {
        return setRow(std::span(parentStates.begin(), parentStates.size()),
                      std::span(numbers.begin(), numbers.size()));
    }

    /// The model's node, for what is not here.
    Bnode_bn& model() const { return *node_; }

private:
    static std::string_view textOf(const char* text) {
        return text == nullptr ? std::string_view() : text;
    }
    Bnode_bn* node_ = nullptr;
};

/// A net; false when it is none, as of a file in which nothing could be read.
class Net {
public:
    /// A new, empty one; a name that is not legal is made so.
    explicit Net(std::string_view name);
    /// What a reader gave.
    explicit Net(std::unique_ptr<Bnet_bn> net) : net_(std::move(net)) {}

    /// Whether it is one.
    explicit operator bool() const { return net_ != nullptr; }

    /// Its name, which is legal.
    std::string_view name() const { return net_->name; }
    /// What people call it; empty when that is not said.
    std::string_view title() const { return net_->title == nullptr ? "" : net_->title; }
    /// What is said of it; empty likewise.
    std::string_view comment() const { return net_->comment == nullptr ? "" : net_->comment; }

    /// In the order of the file, or in which they were added.
    IndexedRange<Node::NodeAt> nodes() const {
        return {Node::NodeAt{net_->nodes.begin()}, net_->nodes.N};
    }
    /// The node of that name, or of the label that its file knows it by.
    Node find(std::string_view name) const {
        Bnode_bn* const found = net_->findNodeLabeled(name);
        return found == nullptr ? Node() : Node(*found);
    }
    /// Adds a nature node with these states, whose texts become titles unless all are legal names.
    /// The node is false, and nothing is added, when its name is not legal or taken, or two states
    /// are the same.
    Node add(std::string_view name, std::span<const std::string_view> states);
    /// Likewise.
    Node add(std::string_view name, std::initializer_list<std::string_view> states) {
        return add(name, std::span(states.begin(), states.size()));
    }

    /// The model's net, for what is not here and for the writers; it stays this one's.
    Bnet_bn& model() const { return *net_; }

private:
    std::shared_ptr<Bnet_bn> net_;
};

}  // namespace lumo
