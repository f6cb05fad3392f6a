#ifndef FRAMEWORK_BASIC_MAP_H
#define FRAMEWORK_BASIC_MAP_H
#include <initializer_list>
#include <new>
#include <type_traits>

#include "framework/basic/aatree.h"
#include "framework/basic/allocator.h"
#include "framework/basic/internal/typed_elements.h"
#include "framework/kernel/export.h"
#include "framework/kernel/internal/move.h"
#include "framework/kernel/result.h"

/// What a CMap<K, V> holds. As `auto& [key, value]` it is taken apart.
template <typename K, typename V>
struct SMapEntry
{
    const K key;
    V value;
};

namespace orvel_internal
{
/// The order of a map's entries: that of their keys. Another key is compared with these.
template <typename K, typename V>
struct SKeyOrder
{
    int operator()(const SMapEntry<K, V>& rFirst, const SMapEntry<K, V>& rSecond) const
    {
        return SNaturalOrder()(rFirst.key, rSecond.key);
    }
};
template <typename K, typename V>
struct SIsCopyable<SMapEntry<K, V>> : std::bool_constant<SIsCopyable<K>::value && SIsCopyable<V>::value>
{
};
template <typename K, typename V>
struct SOrderedPart<SKeyOrder<K, V>>
{
    static constexpr bool bNATURAL = true;

    static const K& Of(const SMapEntry<K, V>& rEntry) { return rEntry.key; }
    template <typename Key>
    static const Key& Of(const Key& rKey)
    {
        return rKey;
    }
};
}  // namespace orvel_internal

/// Values by their keys, in the order of the keys' `<`, over a CAATree, whose growth, threading and cost rules it has:
/// ```
/// CMap<CString, long> counts;
/// for (const CString& rWord : words) ++counts[rWord];
/// for (auto& [word, count] : counts) printf("%s %ld\n", word.CStr(), count);
/// if (auto entry = counts.Find("the")) entry->value = 0;
/// const CMap<CString, int> ports = {{"http", 80}, {"https", 443}};
/// ```
///
/// - **Calls:** Those of its bases among them, and in brackets what std::map calls some of them.
///   - `map[key]`: the value of a key, which is V() when it is new.
///   - `Find(key)`: a handle of the entry, with ->key and ->value, or none (find(), at()).
///   - `contains(key)`: whether there is an entry (count()).
///   - `FindOrInsert(key, &handle)`: as map[key], with a result.
///   - `Insert(key, value)`, `Insert(key, value, &handle)`: keeps what is there (insert()).
///   - `InsertOrAssign(key, value)`: replaces what is there (insert_or_assign()).
///   - `Emplace(key, arguments...)`, `TryEmplace(key, &handle, arguments...)`: makes the value in place
///     (try_emplace()).
///   - `FindLowerBound(key)`, `FindUpperBound(key)`: the first entry not before, after the key (lower_bound(),
///     upper_bound()).
///   - `GetFirst()`, `GetLast()`, `GetAt(index)`: handles of the ends; an entry's address.
///   - `begin()`, `cbegin()`, `rbegin()`, `crbegin()`, `end()`, `cend()`, `rend()`, `crend()`: iterators, in the order
///     of the keys.
///   - `Erase(key)`, `Erase(handle)`: one entry (erase()).
///   - `EraseAll()`, `clear()`: all of them; the capacity stays.
///   - `GetSize()`, `size()`, `IsEmpty()`, `empty()`.
///   - `ReserveCapacity(n)`, `ReduceCapacity(n)`, `GetCapacity()`, `SetLockCapacity(n)`, `GetLockCapacity()`.
///   - `==`, `!=`, `swap(map, map)`.
/// - **Entries:** Each is an SMapEntry<K, V>, which is the T in calls of the tree. Keys and values of any type. Those
///   that cannot be copied are moved in, a value that cannot be moved either is made in place; a map of such can be
///   moved, and copying it does not compile.
/// - **Keys:** What converts to K is a key as a K, made once. Other types are keys without conversion if `<` compares a
///   K with them in both directions; where such a key becomes an entry's, it is as K(key).
///   A text that is too long for a CString converts to an empty one, and so is the empty key: where it may come, make
///   the CString by Assign(), which tells.
/// - **Addresses:** An entry stays where it is until it is erased; so handles, iterators and references to values are
///   good until then. The key of an entry is const.
/// - **Cost:** One descent for each call by a key, and one more for an erasure.
/// - **Failure:** Reported as QvResult with the map as it was. A copy for which memory runs out is empty, an assignment
///   changes nothing then. map[key] throws std::bad_alloc where it can have no entry, because memory runs out, the
///   capacity is locked, or the key does not become an equal K; so does making a map of a list in braces or of a range.
///   A program without exceptions ends with abort(). Where that matters, call FindOrInsert(). Emplace() gives no entry
///   then; TryEmplace() tells why. Keys and values must not throw.
/// - **Lifetime:** As of a tree: made and used only while the framework is up, not in static storage.
template <typename K, typename V>
class QV_EXPORT CMap : private CAATree<SMapEntry<K, V>>
{
    static_assert(orvel_internal::SHasNaturalOrder<K>::value, "the keys of a map are ordered by their <");

    using Entry = SMapEntry<K, V>;
    using Tree = CAATree<Entry>;
    using Node = typename Tree::Node;
    using Order = orvel_internal::SKeyOrder<K, V>;
    template <typename Key>
    using ForeignOnly = std::enable_if_t<orvel_internal::g_bIS_FOREIGN_KEY<K, Key> &&
                                         !std::is_convertible<const Key&, typename Tree::const_handle>::value>;

public:
    using key_type = K;
    using mapped_type = V;
    using typename Tree::const_handle;
    using typename Tree::const_iterator;
    using typename Tree::const_pointer;
    using typename Tree::const_reference;
    using typename Tree::const_reverse_iterator;
    using typename Tree::difference_type;
    using typename Tree::handle;
    using typename Tree::iterator;
    using typename Tree::pointer;
    using typename Tree::reference;
    using typename Tree::reverse_iterator;
    using typename Tree::size_type;
    using typename Tree::value_type;

    /// Empty, with the default allocator.
    CMap() : Tree(Order()) {}
    /// Empty; null means the default allocator.
    explicit CMap(IAllocator* pAllocator) : Tree(Order(), pAllocator) {}
    /// Copies of the entries in braces or of a range, the first of those with equal keys. What a range has may be
    /// entries, pairs, or what else comes apart into a key and a value. Throws std::bad_alloc when memory runs out.
    CMap(std::initializer_list<Entry> entries, IAllocator* pAllocator = nullptr)
        : CMap(entries.begin(), entries.end(), pAllocator)
    {
    }
    template <typename Iterator, typename = orvel_internal::IteratorCategory<Iterator>>
    CMap(Iterator itFirst, Iterator itLast, IAllocator* pAllocator = nullptr) : CMap(pAllocator)
    {
        for (; itFirst != itLast; ++itFirst)
        {
            const auto& [key, value] = *itFirst;
            handle entry;
            static_cast<void>(TryEmplace(key, &entry, value));
            if (!entry) orvel_internal::ThrowOutOfMemory();
        }
    }
    // None of them defaulted: for that a compiler may look at all constructors of the tree, and so at V, here already,
    // where it is still incomplete if its objects hold maps of their own kind.
    /// Order, allocator and entries of the other one; empty when memory runs out.
    CMap(const CMap& rSrc) : Tree(static_cast<const Tree&>(rSrc)) {}
    /// Takes everything; rSrc is empty afterwards.
    CMap(CMap&& rSrc) noexcept : Tree(static_cast<Tree&&>(rSrc)) {}
    CMap& operator=(const CMap& rSrc)
    {
        Tree::operator=(rSrc);
        return *this;
    }
    /// The two maps exchange everything, so that the other one has what this one had. Not with one that a value of this
    /// one holds, as said of CVector.
    CMap& operator=(CMap&& rSrc) noexcept
    {
        Tree::operator=(static_cast<Tree&&>(rSrc));
        return *this;
    }

    using Tree::begin;
    using Tree::cbegin;
    using Tree::cend;
    using Tree::clear;
    using Tree::crbegin;
    using Tree::crend;
    using Tree::empty;
    using Tree::end;
    using Tree::EraseAll;
    using Tree::GetAt;
    using Tree::GetCapacity;
    using Tree::GetFirst;
    using Tree::GetLast;
    using Tree::GetLockCapacity;
    using Tree::GetSize;
    using Tree::IsEmpty;
    using Tree::rbegin;
    using Tree::ReduceCapacity;
    using Tree::rend;
    using Tree::ReserveCapacity;
    using Tree::SetLockCapacity;
    using Tree::size;

    /// The value of a key, which comes into being as V(). Throws std::bad_alloc, see above.
    V& operator[](const K& rKey) { return ValueOf(rKey); }
    V& operator[](K&& rrKey) { return ValueOf(std::move(rrKey)); }
    /// map[rKey] for where memory may run out.
    ///
    /// - `QV_RES_OK`: *pFound designates the entry, new or not.
    /// - `QV_RES_INVALID_ARGUMENT`: pFound is null, or K(rKey) does not equal a key of another type.
    /// - `QV_RES_INVALID_STATE`: the capacity is locked and does not suffice.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no node.
    [[nodiscard]] QvResult FindOrInsert(const K& rKey, handle* pFound) { return FindOrInsertAny(rKey, pFound); }
    [[nodiscard]] QvResult FindOrInsert(K&& rrKey, handle* pFound) { return FindOrInsertAny(std::move(rrKey), pFound); }

    /// The entry of a key, else none.
    handle Find(const K& rKey) { return handle(FindNodeOf(rKey)); }
    const_handle Find(const K& rKey) const { return const_handle(FindNodeOf(rKey)); }
    /// Whether a key has an entry.
    bool contains(const K& rKey) const { return FindNodeOf(rKey) != nullptr; }
    /// The first entry whose key does not come before a key; none when all do.
    handle FindLowerBound(const K& rKey) { return Tree::FindLowerBound(rKey, Order()); }
    const_handle FindLowerBound(const K& rKey) const { return Tree::FindLowerBound(rKey, Order()); }
    /// The first entry whose key comes after a key; none when none does.
    handle FindUpperBound(const K& rKey) { return Tree::FindUpperBound(rKey, Order()); }
    const_handle FindUpperBound(const K& rKey) const { return Tree::FindUpperBound(rKey, Order()); }

    /// Puts an entry in, unless one of that key is there. *pInserted, if it is given, designates the entry that is
    /// there then.
    ///
    /// - `QV_RES_OK`: it is in.
    /// - `QV_RES_ALREADY_EXISTS`: one of that key is there, and keeps its value.
    /// - `QV_RES_INVALID_ARGUMENT`: K(rKey) does not equal a key of another type.
    /// - `QV_RES_INVALID_STATE`: the capacity is locked and does not suffice.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no node.
    [[nodiscard]] QvResult Insert(const K& rKey, V value, handle* pInserted = nullptr)
    {
        return InsertAny(rKey, value, pInserted);
    }
    [[nodiscard]] QvResult Insert(K&& rrKey, V value, handle* pInserted = nullptr)
    {
        return InsertAny(std::move(rrKey), value, pInserted);
    }
    /// Puts an entry in, or gives the one that is there another value. Results as of Insert(), but
    /// QV_RES_ALREADY_EXISTS.
    [[nodiscard]] QvResult InsertOrAssign(const K& rKey, V value) { return InsertOrAssignAny(rKey, value); }
    [[nodiscard]] QvResult InsertOrAssign(K&& rrKey, V value) { return InsertOrAssignAny(std::move(rrKey), value); }
    /// Puts an entry in whose value is made in place, as V(arguments...) or, of its members, V{arguments...}. A handle
    /// of it; none where the key has an entry, which keeps its value, and where there can be none. No value is made
    /// then.
    template <typename... Arguments>
    handle Emplace(const K& rKey, Arguments&&... arguments)
    {
        return EmplaceAny(rKey, std::forward<Arguments>(arguments)...);
    }
    template <typename... Arguments>
    handle Emplace(K&& rrKey, Arguments&&... arguments)
    {
        return EmplaceAny(std::move(rrKey), std::forward<Arguments>(arguments)...);
    }
    /// Emplace() with the results of Insert(). *pInserted, if it is given, designates the entry that is there then.
    template <typename... Arguments>
    [[nodiscard]] QvResult TryEmplace(const K& rKey, handle* pInserted, Arguments&&... arguments)
    {
        return TryEmplaceAny(rKey, pInserted, std::forward<Arguments>(arguments)...);
    }
    template <typename... Arguments>
    [[nodiscard]] QvResult TryEmplace(K&& rrKey, handle* pInserted, Arguments&&... arguments)
    {
        return TryEmplaceAny(std::move(rrKey), pInserted, std::forward<Arguments>(arguments)...);
    }

    /// Destroys the entry of a key. False when there is none.
    bool Erase(const K& rKey) { return EraseAny(rKey); }
    /// Destroys the entry of a handle; an empty handle is ignored.
    void Erase(handle entry) { Tree::Erase(entry); }
    void Erase(const_handle entry) { Tree::Erase(entry); }

    /// The value of a key of another type: see Keys. So do FindOrInsert(), Find(), contains(), FindLowerBound(),
    /// FindUpperBound(), Insert(), InsertOrAssign(), Emplace(), TryEmplace() and Erase() what they do by a K.
    template <typename Key, typename = ForeignOnly<Key>>
    V& operator[](const Key& rKey)
    {
        return ValueOf(rKey);
    }
    template <typename Key, typename = ForeignOnly<Key>>
    [[nodiscard]] QvResult FindOrInsert(const Key& rKey, handle* pFound)
    {
        return FindOrInsertAny(rKey, pFound);
    }
    template <typename Key, typename = ForeignOnly<Key>>
    handle Find(const Key& rKey)
    {
        return handle(FindNodeOf(rKey));
    }
    template <typename Key, typename = ForeignOnly<Key>>
    const_handle Find(const Key& rKey) const
    {
        return const_handle(FindNodeOf(rKey));
    }
    template <typename Key, typename = ForeignOnly<Key>>
    bool contains(const Key& rKey) const
    {
        return FindNodeOf(rKey) != nullptr;
    }
    template <typename Key, typename = ForeignOnly<Key>>
    handle FindLowerBound(const Key& rKey)
    {
        return Tree::FindLowerBound(rKey, Order());
    }
    template <typename Key, typename = ForeignOnly<Key>>
    const_handle FindLowerBound(const Key& rKey) const
    {
        return Tree::FindLowerBound(rKey, Order());
    }
    template <typename Key, typename = ForeignOnly<Key>>
    handle FindUpperBound(const Key& rKey)
    {
        return Tree::FindUpperBound(rKey, Order());
    }
    template <typename Key, typename = ForeignOnly<Key>>
    const_handle FindUpperBound(const Key& rKey) const
    {
        return Tree::FindUpperBound(rKey, Order());
    }
    template <typename Key, typename = ForeignOnly<Key>>
    [[nodiscard]] QvResult Insert(const Key& rKey, V value, handle* pInserted = nullptr)
    {
        return InsertAny(rKey, value, pInserted);
    }
    template <typename Key, typename = ForeignOnly<Key>>
    [[nodiscard]] QvResult InsertOrAssign(const Key& rKey, V value)
    {
        return InsertOrAssignAny(rKey, value);
    }
    template <typename Key, typename... Arguments, typename = ForeignOnly<Key>>
    handle Emplace(const Key& rKey, Arguments&&... arguments)
    {
        return EmplaceAny(rKey, std::forward<Arguments>(arguments)...);
    }
    template <typename Key, typename... Arguments, typename = ForeignOnly<Key>>
    [[nodiscard]] QvResult TryEmplace(const Key& rKey, handle* pInserted, Arguments&&... arguments)
    {
        return TryEmplaceAny(rKey, pInserted, std::forward<Arguments>(arguments)...);
    }
    template <typename Key, typename = ForeignOnly<Key>>
    bool Erase(const Key& rKey)
    {
        return EraseAny(rKey);
    }

    /// Whether the keys are the same, by their order, with values that are equal by `==`.
    friend bool operator==(const CMap& rFirst, const CMap& rSecond)
    {
        if (rFirst.GetSize() != rSecond.GetSize()) return false;
        const_iterator itSecond = rSecond.begin();
        for (const Entry& rEntry : rFirst)
        {
            const Entry& rOther = *itSecond++;
            if (Order()(rEntry, rOther) != 0 || !(rEntry.value == rOther.value)) return false;
        }
        return true;
    }
    friend bool operator!=(const CMap& rFirst, const CMap& rSecond) { return !(rFirst == rSecond); }
    /// The two maps exchange everything.
    friend void swap(CMap& rFirst, CMap& rSecond) noexcept { rFirst.ExchangeContents(rSecond); }

private:
    template <typename Key>
    Node* FindNodeOf(const Key& rKey) const
    {
        return Tree::FindForeign(rKey, Order());
    }
    // The node of a key, if need be a new one, whose value is made of the arguments. Null when none can be had.
    template <typename Key, typename... Arguments>
    QvResult Make(Key&& rrKey, Node*& rpNode, Arguments&&... arguments)
    {
        static_assert(!std::is_same<Key, const K&>::value || orvel_internal::SIsCopyable<K>::value,
                      "the key cannot be copied: move it in");
        return Tree::InsertMade(rrKey, rpNode, Order(),
                                [&](void* pv)
                                {
                                    ::new (pv) Entry{static_cast<K>(std::forward<Key>(rrKey)),
                                                     orvel_internal::Made<V>(std::forward<Arguments>(arguments)...)};
                                });
    }
    template <typename Key>
    V& ValueOf(Key&& rrKey)
    {
        Node* pNode = nullptr;
        Make(std::forward<Key>(rrKey), pNode);
        if (!orvel_internal::IsLikely(pNode != nullptr)) orvel_internal::ThrowOutOfMemory();
        return Tree::ElementOf(pNode).value;
    }
    template <typename Key>
    QvResult FindOrInsertAny(Key&& rrKey, handle* pFound)
    {
        if (pFound == nullptr) return QV_RES_INVALID_ARGUMENT;
        Node* pNode = nullptr;
        const QvResult res = Make(std::forward<Key>(rrKey), pNode);
        if (pNode == nullptr) return res;
        *pFound = handle(pNode);
        return QV_RES_OK;
    }
    template <typename Key>
    QvResult InsertAny(Key&& rrKey, V& rValue, handle* pInserted)
    {
        return TryEmplaceAny(std::forward<Key>(rrKey), pInserted, std::move(rValue));
    }
    template <typename Key>
    QvResult InsertOrAssignAny(Key&& rrKey, V& rValue)
    {
        Node* pNode = nullptr;
        const QvResult res = Make(std::forward<Key>(rrKey), pNode, std::move(rValue));
        if (res != QV_RES_ALREADY_EXISTS) return res;
        // NOLINTNEXTLINE(bugprone-use-after-move): no entry was made, which would have taken it.
        Tree::ElementOf(pNode).value = std::move(rValue);
        return QV_RES_OK;
    }
    template <typename Key, typename... Arguments>
    handle EmplaceAny(Key&& rrKey, Arguments&&... arguments)
    {
        Node* pNode = nullptr;
        const QvResult res = Make(std::forward<Key>(rrKey), pNode, std::forward<Arguments>(arguments)...);
        return handle(res >= 0 ? pNode : nullptr);
    }
    template <typename Key, typename... Arguments>
    QvResult TryEmplaceAny(Key&& rrKey, handle* pInserted, Arguments&&... arguments)
    {
        Node* pNode = nullptr;
        const QvResult res = Make(std::forward<Key>(rrKey), pNode, std::forward<Arguments>(arguments)...);
        if (pNode != nullptr && pInserted != nullptr) *pInserted = handle(pNode);
        return res;
    }
    template <typename Key>
    bool EraseAny(const Key& rKey)
    {
        Node* const pNode = FindNodeOf(rKey);
        if (pNode == nullptr) return false;
        Tree::EraseElement(Tree::ElementOf(pNode));
        return true;
    }
};

#endif
