#pragma once
// A compressed prefix tree from string keys to values. Each node holds a key fragment, an
// optional value and its children, ordered by the first character of their fragments; a node is
// split when a new key shares only part of its fragment. A look-up costs the length of the key,
// whatever the number of keys, which is why the declaration lists find a property by name with
// it. Keys are compared byte by byte; callers clean them first.

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tw {

template <typename T> class TRadixTree {
public:
    struct TRadixTreeNode {
        std::string Fragment;
        std::optional<T> Value;
        std::vector<std::unique_ptr<TRadixTreeNode>> FChildren; // by first character

        TRadixTreeNode* Child(char first) const {
            auto it = std::lower_bound(FChildren.begin(), FChildren.end(), first,
                                       [](const std::unique_ptr<TRadixTreeNode>& n, char c) {
                                           return n->Fragment[0] < c;
                                       });
            return it != FChildren.end() && (*it)->Fragment[0] == first ? it->get() : nullptr;
        }
        void Insert(std::unique_ptr<TRadixTreeNode> child) {
            auto it = std::lower_bound(FChildren.begin(), FChildren.end(), child->Fragment[0],
                                       [](const std::unique_ptr<TRadixTreeNode>& n, char c) {
                                           return n->Fragment[0] < c;
                                       });
            FChildren.insert(it, std::move(child));
        }
    };

    TRadixTree() : FRoot(std::make_unique<TRadixTreeNode>()) {}

    // Adds the key, or replaces its value.
    void AddOrSet(std::string_view key, T value) {
        TRadixTreeNode* node = FRoot.get();
        for (;;) {
            if (key.empty()) {
                if (!node->Value)
                    ++FCount;
                node->Value = std::move(value);
                return;
            }
            TRadixTreeNode* child = node->Child(key[0]);
            if (!child) {
                auto leaf = std::make_unique<TRadixTreeNode>();
                leaf->Fragment = std::string(key);
                leaf->Value = std::move(value);
                node->Insert(std::move(leaf));
                ++FCount;
                return;
            }
            const size_t common = CommonPrefix(child->Fragment, key);
            if (common < child->Fragment.size()) {
                // Split the child: a new node with the shared part takes its place.
                auto middle = std::make_unique<TRadixTreeNode>();
                middle->Fragment = child->Fragment.substr(0, common);
                auto& slot = SlotOf(*node, child);
                std::unique_ptr<TRadixTreeNode> old = std::move(slot);
                old->Fragment.erase(0, common);
                middle->Insert(std::move(old));
                slot = std::move(middle);
                child = slot.get();
            }
            node = child;
            key.remove_prefix(common);
        }
    }

    // The value of the key, or nullptr.
    const T* Find(std::string_view key) const {
        const TRadixTreeNode* node = FindNode(key);
        return node && node->Value ? &*node->Value : nullptr;
    }
    bool TryGetValue(std::string_view key, T& value) const {
        const T* found = Find(key);
        if (found)
            value = *found;
        return found != nullptr;
    }
    bool Contains(std::string_view key) const { return Find(key) != nullptr; }

    // Removes the key's value; answers whether there was one. Nodes stay; the tree is rebuilt
    // by Clear when it shrinks a lot.
    bool Remove(std::string_view key) {
        TRadixTreeNode* node = const_cast<TRadixTreeNode*>(FindNode(key));
        if (!node || !node->Value)
            return false;
        node->Value.reset();
        --FCount;
        return true;
    }

    // The keys with the given prefix, in byte order.
    std::vector<std::string> KeysWithPrefix(std::string_view prefix) const {
        std::vector<std::string> keys;
        const TRadixTreeNode* node = FRoot.get();
        std::string path;
        while (!prefix.empty()) {
            const TRadixTreeNode* child = node->Child(prefix[0]);
            if (!child)
                return keys;
            const size_t common = CommonPrefix(child->Fragment, prefix);
            if (common < prefix.size() && common < child->Fragment.size())
                return keys;
            path += child->Fragment;
            prefix.remove_prefix(std::min(prefix.size(), child->Fragment.size()));
            node = child;
        }
        Collect(*node, path, keys);
        return keys;
    }

    void Clear() {
        FRoot = std::make_unique<TRadixTreeNode>();
        FCount = 0;
    }
    size_t Count() const { return FCount; }
    const TRadixTreeNode& Root() const { return *FRoot; }

private:
    static size_t CommonPrefix(std::string_view a, std::string_view b) {
        size_t n = 0;
        while (n < a.size() && n < b.size() && a[n] == b[n])
            ++n;
        return n;
    }
    static std::unique_ptr<TRadixTreeNode>& SlotOf(TRadixTreeNode& parent,
                                                   const TRadixTreeNode* child) {
        for (auto& slot : parent.FChildren)
            if (slot.get() == child)
                return slot;
        return parent.FChildren.front(); // unreachable: the child belongs to the parent
    }
    const TRadixTreeNode* FindNode(std::string_view key) const {
        const TRadixTreeNode* node = FRoot.get();
        while (!key.empty()) {
            node = node->Child(key[0]);
            if (!node || key.substr(0, node->Fragment.size()) != node->Fragment)
                return nullptr;
            key.remove_prefix(node->Fragment.size());
        }
        return node;
    }
    static void Collect(const TRadixTreeNode& node, const std::string& path,
                        std::vector<std::string>& keys) {
        if (node.Value)
            keys.push_back(path);
        for (const auto& child : node.FChildren)
            Collect(*child, path + child->Fragment, keys);
    }

    std::unique_ptr<TRadixTreeNode> FRoot;
    size_t FCount = 0;
};

} // namespace tw
