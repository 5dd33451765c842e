// An ordered map as a value: copying it is copying a pointer, and a copy never sees what becomes of the other. It is a
// copy-on-write B-tree (B+: the values are in the leaves): versions share the nodes that they have in common, and a
// change copies those from the root to one leaf. Nodes that nobody else holds are changed in place.
//
// Versions may be read, copied and destroyed in different threads; one object is changed by one thread. A change that
// throws (std::bad_alloc) leaves the map with the entries that it had.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace kvel::collections {

// Keys and values are copied with the nodes, so both should be small and must not throw: numbers, shared pointers,
// shared strings.
template <class Key, class Value, class Compare = std::less<>>
class PersistentMap {
  static_assert(std::is_nothrow_copy_constructible_v<Key> && std::is_nothrow_copy_constructible_v<Value>);
  static_assert(std::is_nothrow_move_assignable_v<Key> && std::is_nothrow_move_assignable_v<Value>);

  static constexpr std::uint32_t kCapacity = 16;  // entries of a leaf, children of an inner node
  static constexpr std::uint32_t kScarce = 5;     // a node with so few is filled up before one is taken out
  static constexpr std::size_t kMaxHeight = 20;   // more entries than that need have no room in memory

  // Room for up to so many elements, of which the first are there.
  template <class Element, std::uint32_t Size>
  class Slots {
   public:
    Slots() noexcept {}  // NOLINT(modernize-use-equals-default): the bytes stay as they are
    [[nodiscard]] Element* data() noexcept { return std::launder(reinterpret_cast<Element*>(bytes_)); }
    [[nodiscard]] const Element* data() const noexcept {
      return std::launder(reinterpret_cast<const Element*>(bytes_));
    }
    [[nodiscard]] Element& operator[](std::uint32_t index) noexcept { return data()[index]; }
    [[nodiscard]] const Element& operator[](std::uint32_t index) const noexcept { return data()[index]; }

    void copy(const Slots& from, std::uint32_t count) noexcept {
      std::uninitialized_copy_n(from.data(), count, data());
    }
    void destroy(std::uint32_t count) noexcept { std::destroy_n(data(), count); }
    // Makes `element` the one at `index` of what then are count + 1.
    void insert(std::uint32_t count, std::uint32_t index, Element element) noexcept {
      if (index == count) {
        std::construct_at(data() + count, std::move(element));
        return;
      }
      std::construct_at(data() + count, std::move((*this)[count - 1]));
      std::move_backward(data() + index, data() + count - 1, data() + count);
      (*this)[index] = std::move(element);
    }
    void erase(std::uint32_t count, std::uint32_t index) noexcept {
      std::move(data() + index + 1, data() + count, data() + index);
      std::destroy_at(data() + count - 1);
    }
    // Moves the elements from `first` on to the end of `target`, which has `present`.
    void move_tail(std::uint32_t count, std::uint32_t first, Slots& target, std::uint32_t present) noexcept {
      std::uninitialized_move_n(data() + first, count - first, target.data() + present);
      std::destroy_n(data() + first, count - first);
    }

   private:
    alignas(Element) std::byte bytes_[Size * sizeof(Element)];
  };

  struct Node {
    std::atomic<std::uint32_t> holders{1};
    std::uint8_t count = 0;   // of entries, or of children
    std::uint8_t height = 0;  // of a leaf 0
  };
  struct Leaf : Node {
    Slots<Key, kCapacity> keys;
    Slots<Value, kCapacity> values;
  };
  // The keys of child n are below keys[n], those of child n + 1 are not.
  struct Inner : Node {
    Slots<Key, kCapacity - 1> keys;
    std::array<Node*, kCapacity> children;
  };

 public:
  // One entry; valid as long as a version that holds it.
  struct Entry {
    const Key& key;
    const Value& value;
  };

  // Goes over a version in the order of its keys. The version must stay: a change through the same object ends it.
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = Entry;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = Entry;

    Iterator() = default;
    [[nodiscard]] Entry operator*() const noexcept { return {leaf_->keys[index_], leaf_->values[index_]}; }
    [[nodiscard]] const Key& key() const noexcept { return leaf_->keys[index_]; }
    [[nodiscard]] const Value& value() const noexcept { return leaf_->values[index_]; }
    Iterator& operator++() noexcept {
      if (++index_ == leaf_->count) go_to_next_leaf();
      return *this;
    }
    friend bool operator==(const Iterator& left, const Iterator& right) noexcept {
      return left.leaf_ == right.leaf_ && left.index_ == right.index_;
    }

   private:
    friend class PersistentMap;

    // Goes down to the first leaf below a node.
    void descend(const Node* node) noexcept {
      for (; node->height != 0; node = inner(node)->children[0])
        path_[depth_++] = {inner(node), 0};
      leaf_ = leaf(node);
      index_ = 0;
    }
    void go_to_next_leaf() noexcept {
      for (; depth_ != 0; --depth_) {
        auto& [node, child] = path_[depth_ - 1];
        if (++child < node->count) return descend(node->children[child]);
      }
      leaf_ = nullptr;
      index_ = 0;
    }

    const Leaf* leaf_ = nullptr;  // null: at the end
    std::uint32_t index_ = 0;
    std::uint32_t depth_ = 0;
    std::array<std::pair<const Inner*, std::uint32_t>, kMaxHeight> path_;
  };

  PersistentMap() noexcept = default;
  PersistentMap(const PersistentMap& other) noexcept : root_(other.root_), size_(other.size_) {
    if (root_ != nullptr) hold(root_);
  }
  PersistentMap(PersistentMap&& other) noexcept
      : root_(std::exchange(other.root_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  PersistentMap& operator=(PersistentMap other) noexcept {
    std::swap(root_, other.root_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~PersistentMap() {
    if (root_ != nullptr) release(root_);
  }

  [[nodiscard]] std::size_t size() const noexcept { return size_; }
  [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
  // Whether both are the same version, so that no entry differs. (Equal maps need not be.)
  [[nodiscard]] bool is_same_version(const PersistentMap& other) const noexcept { return root_ == other.root_; }

  // Null when there is none.
  template <class Wanted>
  [[nodiscard]] const Value* find(const Wanted& key) const noexcept {
    if (root_ == nullptr) return nullptr;
    const Node* node = root_;
    while (node->height != 0)
      node = inner(node)->children[child_of(*inner(node), key)];
    const std::uint32_t index = lower_bound_in(*leaf(node), key);
    return holds(*leaf(node), index, key) ? &leaf(node)->values[index] : nullptr;
  }
  template <class Wanted>
  [[nodiscard]] bool contains(const Wanted& key) const noexcept {
    return find(key) != nullptr;
  }

  [[nodiscard]] Iterator begin() const noexcept {
    Iterator first;
    if (root_ != nullptr) first.descend(root_);
    return first;
  }
  [[nodiscard]] Iterator end() const noexcept { return {}; }
  // The first entry whose key is not below this one.
  template <class Wanted>
  [[nodiscard]] Iterator lower_bound(const Wanted& key) const noexcept {
    Iterator found;
    if (root_ == nullptr) return found;
    const Node* node = root_;
    for (; node->height != 0; node = inner(node)->children[found.path_[found.depth_ - 1].second])
      found.path_[found.depth_++] = {inner(node), child_of(*inner(node), key)};
    found.leaf_ = leaf(node);
    found.index_ = lower_bound_in(*leaf(node), key);
    if (found.index_ == node->count) found.go_to_next_leaf();
    return found;
  }
  // The first entry whose key is above this one.
  template <class Wanted>
  [[nodiscard]] Iterator upper_bound(const Wanted& key) const noexcept {
    Iterator found = lower_bound(key);
    if (found != end() && !less(key, found.key())) ++found;
    return found;
  }
  // The value of the last entry whose key is below this one; null when there is none.
  template <class Wanted>
  [[nodiscard]] const Value* find_before(const Wanted& key) const noexcept {
    if (root_ == nullptr) return nullptr;
    const Node* left = nullptr;  // the subtree beside the path, before it
    const Node* node = root_;
    while (node->height != 0) {
      const std::uint32_t child = child_of(*inner(node), key);
      if (child != 0) left = inner(node)->children[child - 1];
      node = inner(node)->children[child];
    }
    const std::uint32_t index = lower_bound_in(*leaf(node), key);
    if (index != 0) return &leaf(node)->values[index - 1];
    return left == nullptr ? nullptr : &last_entry(left).value;
  }
  // The last entry; the map must have one.
  [[nodiscard]] Entry back() const noexcept { return last_entry(root_); }

  // Gives the key this value. A key that is there already stays the object that it is.
  void insert_or_assign(Key key, Value value) {
    if (root_ == nullptr) root_ = new Leaf;
    Leaf* leaf = own_path(key);
    std::uint32_t index = lower_bound_in(*leaf, key);
    if (holds(*leaf, index, key)) {
      leaf->values[index] = std::move(value);
      return;
    }
    if (leaf->count == kCapacity) {
      leaf = make_room(key);
      index = lower_bound_in(*leaf, key);
    }
    leaf->keys.insert(leaf->count, index, std::move(key));
    leaf->values.insert(leaf->count, index, std::move(value));
    ++leaf->count;
    ++size_;
  }

  // Whether there was such an entry.
  template <class Wanted>
  bool erase(const Wanted& wanted) {
    if (!contains(wanted)) return false;
    Node** slot = &root_;
    own(*slot);
    while ((*slot)->height != 0) {
      auto& parent = *inner(*slot);
      std::uint32_t child = child_of(parent, wanted);
      own(parent.children[child]);
      if (parent.children[child]->count <= kScarce && fill_up(parent, child)) child = child_of(parent, wanted);
      slot = &parent.children[child];
      if (*slot != root_ && root_->height != 0 && root_->count == 1) slot = drop_root();
    }
    Leaf& leaf = *PersistentMap::leaf(*slot);
    const std::uint32_t index = lower_bound_in(leaf, wanted);
    leaf.keys.erase(leaf.count, index);
    leaf.values.erase(leaf.count, index);
    --leaf.count;
    if (--size_ == 0) release(std::exchange(root_, nullptr));
    return true;
  }

  // Calls visit(key, before, after) for each key whose value is not the same in both, in their order; before or after
  // is null where there is none. What the two versions share is passed over. The pointers are valid within the call.
  template <class Visit>
  static void for_each_difference(const PersistentMap& before, const PersistentMap& after, Visit&& visit) {
    Walk left(before.root_);
    Walk right(after.root_);
    while (!left.is_done() && !right.is_done()) {
      if (left.node() != nullptr && left.node() == right.node()) {
        left.pass();
        right.pass();
        continue;
      }
      const bool left_first = less(left.first_key(), right.first_key());
      const bool right_first = !left_first && less(right.first_key(), left.first_key());
      if (left.node() == nullptr && right.node() == nullptr) {
        if (!left_first && !right_first && !(left.value() == right.value())) {
          visit(left.first_key(), &left.value(), &right.value());
        }
        if (left_first) visit(left.first_key(), &left.value(), nullptr);
        if (right_first) visit(right.first_key(), nullptr, &right.value());
        if (!right_first) left.pass();
        if (!left_first) right.pass();
      } else if (left_first) {
        take_one(left, [&](const Key& key, const Value& value) { visit(key, &value, nullptr); });
      } else if (right_first) {
        take_one(right, [&](const Key& key, const Value& value) { visit(key, nullptr, &value); });
      } else {
        const int left_height = left.height();
        const int right_height = right.height();
        if (left_height >= right_height) left.enter();
        if (right_height >= left_height) right.enter();
      }
    }
    while (!left.is_done())
      take_one(left, [&](const Key& key, const Value& value) { visit(key, &value, nullptr); });
    while (!right.is_done())
      take_one(right, [&](const Key& key, const Value& value) { visit(key, nullptr, &value); });
  }

 private:
  static Leaf* leaf(Node* node) noexcept { return static_cast<Leaf*>(node); }
  static const Leaf* leaf(const Node* node) noexcept { return static_cast<const Leaf*>(node); }
  static Inner* inner(Node* node) noexcept { return static_cast<Inner*>(node); }
  static const Inner* inner(const Node* node) noexcept { return static_cast<const Inner*>(node); }

  template <class Left, class Right>
  static bool less(const Left& left, const Right& right) noexcept {
    return Compare()(left, right);
  }

  // The number of the first `count` keys that are below (or, `or_equal`, not above) the wanted one.
  template <bool or_equal, class Wanted>
  static std::uint32_t count_below(const Key* keys, std::uint32_t count, const Wanted& wanted) noexcept {
    std::uint32_t first = 0;
    while (count != 0) {
      const std::uint32_t half = count / 2;
      const bool below = or_equal ? !less(wanted, keys[first + half]) : less(keys[first + half], wanted);
      if (below) {
        first += half + 1;
        count -= half + 1;
      } else {
        count = half;
      }
    }
    return first;
  }
  template <class Wanted>
  static std::uint32_t child_of(const Inner& node, const Wanted& wanted) noexcept {
    return count_below<true>(node.keys.data(), node.count - 1U, wanted);
  }
  template <class Wanted>
  static std::uint32_t lower_bound_in(const Leaf& node, const Wanted& wanted) noexcept {
    return count_below<false>(node.keys.data(), node.count, wanted);
  }
  // Whether the entry at the lower bound has the key.
  template <class Wanted>
  static bool holds(const Leaf& node, std::uint32_t index, const Wanted& wanted) noexcept {
    return index != node.count && !less(wanted, node.keys[index]);
  }

  static Entry last_entry(const Node* node) noexcept {
    while (node->height != 0)
      node = inner(node)->children[node->count - 1U];
    return {leaf(node)->keys[node->count - 1U], leaf(node)->values[node->count - 1U]};
  }

  static void hold(Node* node) noexcept { node->holders.fetch_add(1, std::memory_order_relaxed); }
  static void release(Node* node) noexcept {
    if (node->holders.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    if (node->height == 0) {
      leaf(node)->keys.destroy(node->count);
      leaf(node)->values.destroy(node->count);
      delete leaf(node);
      return;
    }
    for (std::uint32_t child = 0; child < node->count; ++child)
      release(inner(node)->children[child]);
    inner(node)->keys.destroy(node->count - 1U);
    delete inner(node);
  }

  static Node* clone(const Node* node) {
    if (node->height == 0) {
      auto* const copy = new Leaf;
      copy->keys.copy(leaf(node)->keys, node->count);
      copy->values.copy(leaf(node)->values, node->count);
      copy->count = node->count;
      return copy;
    }
    auto* const copy = new Inner;
    copy->keys.copy(inner(node)->keys, node->count - 1U);
    copy->children = inner(node)->children;
    copy->count = node->count;
    copy->height = node->height;
    for (std::uint32_t child = 0; child < node->count; ++child)
      hold(copy->children[child]);
    return copy;
  }
  // Puts a copy in the slot when others hold its node.
  static void own(Node*& slot) {
    if (slot->holders.load(std::memory_order_acquire) == 1) return;
    Node* const copy = clone(slot);
    release(std::exchange(slot, copy));
  }

  // The leaf where the key belongs, all nodes from the root to it being this map's own.
  Leaf* own_path(const Key& key) {
    Node** slot = &root_;
    own(*slot);
    while ((*slot)->height != 0) {
      slot = &inner(*slot)->children[child_of(*inner(*slot), key)];
      own(*slot);
    }
    return leaf(*slot);
  }

  // The same with room for one more entry; the path is owned and its leaf is full.
  Leaf* make_room(const Key& key) {
    if (root_->count == kCapacity) {
      auto* const root = new Inner;
      root->children[0] = root_;
      root->count = 1;
      root->height = static_cast<std::uint8_t>(root_->height + 1);
      root_ = root;
    }
    Node* node = root_;
    while (node->height != 0) {
      std::uint32_t child = child_of(*inner(node), key);
      if (inner(node)->children[child]->count == kCapacity) {
        split(*inner(node), child, key);
        child = child_of(*inner(node), key);
      }
      node = inner(node)->children[child];
    }
    return leaf(node);
  }

  // Makes two of a full child, so that there is room for the key. Where keys come in ascending order nodes stay full.
  static void split(Inner& parent, std::uint32_t child, const Key& key) {
    Node* const full = parent.children[child];
    const bool is_leaf = full->height == 0;
    const Key& last = is_leaf ? leaf(full)->keys[kCapacity - 1] : inner(full)->keys[kCapacity - 2];
    const std::uint32_t kept = less(last, key) ? kCapacity - 1 : kCapacity / 2;
    if (is_leaf) {
      auto* const right = new Leaf;
      leaf(full)->keys.move_tail(kCapacity, kept, right->keys, 0);
      leaf(full)->values.move_tail(kCapacity, kept, right->values, 0);
      right->count = static_cast<std::uint8_t>(kCapacity - kept);
      insert_child(parent, child + 1, right->keys[0], right);
    } else {
      auto* const right = new Inner;
      inner(full)->keys.move_tail(kCapacity - 1, kept, right->keys, 0);
      std::copy(inner(full)->children.begin() + kept, inner(full)->children.end(), right->children.begin());
      right->count = static_cast<std::uint8_t>(kCapacity - kept);
      right->height = full->height;
      insert_child(parent, child + 1, std::move(inner(full)->keys[kept - 1]), right);
      std::destroy_at(&inner(full)->keys[kept - 1]);
    }
    full->count = static_cast<std::uint8_t>(kept);
  }
  // At an index above 0.
  static void insert_child(Inner& parent, std::uint32_t index, Key key, Node* child) noexcept {
    parent.keys.insert(parent.count - 1U, index - 1, std::move(key));
    std::move_backward(parent.children.begin() + index, parent.children.begin() + parent.count,
                       parent.children.begin() + parent.count + 1);
    parent.children[index] = child;
    ++parent.count;
  }
  static void erase_child(Inner& parent, std::uint32_t index) noexcept {
    parent.keys.erase(parent.count - 1U, index - 1);
    std::move(parent.children.begin() + index + 1, parent.children.begin() + parent.count,
              parent.children.begin() + index);
    --parent.count;
  }

  // Joins a scarce child with a neighbour, or evens the two out. False: it has none.
  static bool fill_up(Inner& parent, std::uint32_t child) {
    if (parent.count == 1) return false;
    const std::uint32_t at = child == 0 ? 0 : child - 1;  // of the left one of the two
    own(parent.children[child == 0 ? 1 : child - 1]);
    Node* const left = parent.children[at];
    Node* const right = parent.children[at + 1];
    if (left->count + right->count <= kCapacity) {
      join(parent, at);
    } else if (left->height == 0) {
      even_out(parent.keys[at], *leaf(left), *leaf(right));
    } else {
      even_out(parent.keys[at], *inner(left), *inner(right));
    }
    return true;
  }
  static void join(Inner& parent, std::uint32_t at) noexcept {
    Node* const left = parent.children[at];
    Node* const right = parent.children[at + 1];
    if (left->height == 0) {
      leaf(right)->keys.move_tail(right->count, 0, leaf(left)->keys, left->count);
      leaf(right)->values.move_tail(right->count, 0, leaf(left)->values, left->count);
      left->count = static_cast<std::uint8_t>(left->count + right->count);
      delete leaf(right);
    } else {
      std::construct_at(&inner(left)->keys[left->count - 1U], std::move(parent.keys[at]));
      inner(right)->keys.move_tail(right->count - 1U, 0, inner(left)->keys, left->count);
      std::copy_n(inner(right)->children.begin(), right->count, inner(left)->children.begin() + left->count);
      left->count = static_cast<std::uint8_t>(left->count + right->count);
      delete inner(right);
    }
    erase_child(parent, at + 1);
  }
  // `between` is the key that separates the two. One by one: there are at most a few.
  static void even_out(Key& between, Leaf& left, Leaf& right) noexcept {
    while (left.count + 1 < right.count) {
      left.keys.insert(left.count, left.count, std::move(right.keys[0]));
      left.values.insert(left.count, left.count, std::move(right.values[0]));
      ++left.count;
      right.keys.erase(right.count, 0);
      right.values.erase(right.count, 0);
      --right.count;
    }
    while (right.count + 1 < left.count) {
      --left.count;
      right.keys.insert(right.count, 0, std::move(left.keys[left.count]));
      right.values.insert(right.count, 0, std::move(left.values[left.count]));
      ++right.count;
      std::destroy_at(&left.keys[left.count]);
      std::destroy_at(&left.values[left.count]);
    }
    between = right.keys[0];
  }
  static void even_out(Key& between, Inner& left, Inner& right) noexcept {
    while (left.count + 1 < right.count) {
      left.keys.insert(left.count - 1U, left.count - 1U, std::move(between));
      left.children[left.count++] = right.children[0];
      between = std::move(right.keys[0]);
      right.keys.erase(right.count - 1U, 0);
      std::move(right.children.begin() + 1, right.children.begin() + right.count, right.children.begin());
      --right.count;
    }
    while (right.count + 1 < left.count) {
      right.keys.insert(right.count - 1U, 0, std::move(between));
      std::move_backward(right.children.begin(), right.children.begin() + right.count,
                         right.children.begin() + right.count + 1);
      right.children[0] = left.children[--left.count];
      ++right.count;
      between = std::move(left.keys[left.count - 1U]);
      std::destroy_at(&left.keys[left.count - 1U]);
    }
  }
  // The only child of the root becomes the root.
  Node** drop_root() noexcept {
    auto* const old = inner(root_);
    root_ = old->children[0];
    delete old;
    return &root_;
  }

  // A walk over a version that can pass a whole subtree at once. It stands at a node or at an entry.
  class Walk {
   public:
    explicit Walk(const Node* root) noexcept : node_(root) {}
    [[nodiscard]] bool is_done() const noexcept { return node_ == nullptr && depth_ == 0; }
    // Null: at an entry.
    [[nodiscard]] const Node* node() const noexcept { return node_; }
    [[nodiscard]] int height() const noexcept { return node_ == nullptr ? -1 : node_->height; }
    [[nodiscard]] const Key& first_key() const noexcept {
      if (node_ == nullptr) return leaf(path_[depth_ - 1].first)->keys[path_[depth_ - 1].second];
      const Node* node = node_;
      while (node->height != 0)
        node = inner(node)->children[0];
      return leaf(node)->keys[0];
    }
    [[nodiscard]] const Value& value() const noexcept {
      return leaf(path_[depth_ - 1].first)->values[path_[depth_ - 1].second];
    }
    void enter() noexcept {
      path_[depth_++] = {node_, 0};
      node_ = node_->height == 0 ? nullptr : inner(node_)->children[0];
    }
    void pass() noexcept {
      for (; depth_ != 0; --depth_) {
        auto& [node, index] = path_[depth_ - 1];
        if (++index == node->count) continue;
        node_ = node->height == 0 ? nullptr : inner(node)->children[index];
        return;
      }
      node_ = nullptr;
    }

   private:
    const Node* node_;
    std::uint32_t depth_ = 0;
    std::array<std::pair<const Node*, std::uint32_t>, kMaxHeight> path_;
  };

  // Visits the entry at which the walk stands, or goes into its node.
  template <class Visit>
  static void take_one(Walk& walk, const Visit& visit) {
    if (walk.node() != nullptr) {
      walk.enter();
    } else {
      visit(walk.first_key(), walk.value());
      walk.pass();
    }
  }

  Node* root_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace kvel::collections
