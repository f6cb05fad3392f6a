#ifndef FRAMEWORK_BASIC_MAP_H
#define FRAMEWORK_BASIC_MAP_H
#include <new>
#include <type_traits>
#include <utility>

#include "framework/basic/aatree.h"
#include "framework/basic/allocator.h"
#include "framework/basic/internal/typed_elements.h"
#include "framework/kernel/export.h"
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
///
///     CMap<CString, long> counts;
///     for (const CString& rWord : words) ++counts[rWord];
///     for (auto& [word, count] : counts) printf("%s %ld\n", word.CStr(), count);
///     if (auto entry = counts.Find("the")) entry->value = 0;
///
/// Its calls, those of its bases among them:
/// ```
///   map[key]                                     the value of a key, which is V() when it is new
///   Find(key)                                    a handle of the entry, with ->key and ->value, or none
///   FindOrInsert(key, &handle)                   as map[key], with a result
///   Insert(key, value), Insert(key, value, &handle)   keeps what is there
///   InsertOrAssign(key, value)                   replaces what is there
///   FindLowerBound(key), FindUpperBound(key)     the first entry not before, after the key
///   GetFirst(), GetLast(), GetAt(index)          handles of the ends; an entry's address
///   begin(), end()                               iterators, in the order of the keys
///   Erase(key), Erase(handle), EraseAll()        the capacity stays
///   GetSize(), IsEmpty()
///   ReserveCapacity(n), ReduceCapacity(n), GetCapacity(), SetLockCapacity(n), GetLockCapacity()
///   ==, !=, swap(map, map)
/// ```
/// Keys       What converts to K is a key as a K, made once. Other types are keys without conversion if `<` compares a
///            K with them in both directions; where such a key becomes an entry's, it is as K(key).
/// Addresses  An entry stays where it is until it is erased; so handles, iterators and references to values are good
///            until then. The key of an entry is const.
/// Cost       One descent for each call by a key, and one more for an erasure.
/// Failure    Reported as QvResult with the map as it was. A copy for which memory runs out is empty, an assignment
///            changes nothing then. map[key] throws std::bad_alloc where it can have no entry, because memory runs out,
///            the capacity is locked, or the key does not become an equal K; a program without exceptions ends with
///            abort(). Where that matters, call FindOrInsert(). Keys and values must not throw.
///
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
    using typename Tree::handle;
    using typename Tree::iterator;
    using typename Tree::value_type;

    /// Null means the default allocator.
    explicit CMap(IAllocator* pAllocator = nullptr) : Tree(Order(), pAllocator) {}
    CMap(const CMap& rSrc) = default;
    CMap(CMap&& rSrc) noexcept = default;
    CMap& operator=(const CMap& rSrc) = default;
    /// The two maps exchange everything.
    CMap& operator=(CMap&& rSrc) noexcept = default;

    using Tree::begin;
    using Tree::end;
    using Tree::EraseAll;
    using Tree::GetAt;
    using Tree::GetCapacity;
    using Tree::GetFirst;
    using Tree::GetLast;
    using Tree::GetLockCapacity;
    using Tree::GetSize;
    using Tree::IsEmpty;
    using Tree::ReduceCapacity;
    using Tree::ReserveCapacity;
    using Tree::SetLockCapacity;

    /// The value of a key, which comes into being as V(). Throws std::bad_alloc, see above.
    V& operator[](const K& rKey) { return ValueOf(rKey); }
    /// The same for where memory may run out.
    /// QV_RES_OK                *pFound designates the entry, new or not
    /// QV_RES_INVALID_ARGUMENT  pFound is null, or K(rKey) does not equal a key of another type
    /// QV_RES_INVALID_STATE     the capacity is locked and does not suffice
    /// QV_RES_OUT_OF_MEMORY     the allocator gave no node
    QvResult FindOrInsert(const K& rKey, handle* pFound) { return FindOrInsertAny(rKey, pFound); }

    /// The entry of a key, else none.
    handle Find(const K& rKey) { return handle(FindNodeOf(rKey)); }
    const_handle Find(const K& rKey) const { return const_handle(FindNodeOf(rKey)); }
    /// The first entry whose key does not come before a key; none when all do.
    handle FindLowerBound(const K& rKey) { return Tree::FindLowerBound(rKey, Order()); }
    const_handle FindLowerBound(const K& rKey) const { return Tree::FindLowerBound(rKey, Order()); }
    /// The first entry whose key comes after a key; none when none does.
    handle FindUpperBound(const K& rKey) { return Tree::FindUpperBound(rKey, Order()); }
    const_handle FindUpperBound(const K& rKey) const { return Tree::FindUpperBound(rKey, Order()); }

    /// Puts an entry in, unless one of that key is there. *pInserted, if it is given, designates the entry that is
    /// there then.
    /// QV_RES_OK                it is in
    /// QV_RES_ALREADY_EXISTS    one of that key is there, and keeps its value
    /// QV_RES_INVALID_ARGUMENT  K(rKey) does not equal a key of another type
    /// QV_RES_INVALID_STATE     the capacity is locked and does not suffice
    /// QV_RES_OUT_OF_MEMORY     the allocator gave no node
    QvResult Insert(const K& rKey, V value, handle* pInserted = nullptr) { return InsertAny(rKey, value, pInserted); }
    /// Puts an entry in, or gives the one that is there another value. Results as above, but QV_RES_ALREADY_EXISTS.
    QvResult InsertOrAssign(const K& rKey, V value) { return InsertOrAssignAny(rKey, value); }

    /// Destroys the entry of a key. False when there is none.
    bool Erase(const K& rKey) { return EraseAny(rKey); }
    /// Destroys the entry of a handle; an empty handle is ignored.
    void Erase(handle entry) { Tree::Erase(entry); }
    void Erase(const_handle entry) { Tree::Erase(entry); }

    /// The same by keys of other types.
    template <typename Key, typename = ForeignOnly<Key>>
    V& operator[](const Key& rKey)
    {
        return ValueOf(rKey);
    }
    template <typename Key, typename = ForeignOnly<Key>>
    QvResult FindOrInsert(const Key& rKey, handle* pFound)
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
    QvResult Insert(const Key& rKey, V value, handle* pInserted = nullptr)
    {
        return InsertAny(rKey, value, pInserted);
    }
    template <typename Key, typename = ForeignOnly<Key>>
    QvResult InsertOrAssign(const Key& rKey, V value)
    {
        return InsertOrAssignAny(rKey, value);
    }
    template <typename Key, typename = ForeignOnly<Key>>
    bool Erase(const Key& rKey)
    {
        return EraseAny(rKey);
    }

    /// The same keys, by their order, with values that are equal by `==`.
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
    friend void swap(CMap& rFirst, CMap& rSecond) noexcept { rFirst.ExchangeContents(rSecond); }

private:
    template <typename Key>
    Node* FindNodeOf(const Key& rKey) const
    {
        return Tree::FindForeign(rKey, Order());
    }
    // The node of a key, if need be a new one, whose value is made of the arguments. Null when none can be had.
    template <typename Key, typename... Arguments>
    QvResult Make(const Key& rKey, Node*& rpNode, Arguments&&... arguments)
    {
        return Tree::InsertMade(rKey, rpNode, Order(),
                                [&](void* pv) {
                                    ::new (pv) Entry{static_cast<K>(rKey), V(std::forward<Arguments>(arguments)...)};
                                });
    }
    template <typename Key>
    V& ValueOf(const Key& rKey)
    {
        Node* pNode = nullptr;
        Make(rKey, pNode);
        if (!orvel_internal::IsLikely(pNode != nullptr)) orvel_internal::ThrowOutOfMemory();
        return Tree::ElementOf(pNode).value;
    }
    template <typename Key>
    QvResult FindOrInsertAny(const Key& rKey, handle* pFound)
    {
        if (pFound == nullptr) return QV_RES_INVALID_ARGUMENT;
        Node* pNode = nullptr;
        const QvResult res = Make(rKey, pNode);
        if (pNode == nullptr) return res;
        *pFound = handle(pNode);
        return QV_RES_OK;
    }
    template <typename Key>
    QvResult InsertAny(const Key& rKey, V& rValue, handle* pInserted)
    {
        Node* pNode = nullptr;
        const QvResult res = Make(rKey, pNode, std::move(rValue));
        if (pNode != nullptr && pInserted != nullptr) *pInserted = handle(pNode);
        return res;
    }
    template <typename Key>
    QvResult InsertOrAssignAny(const Key& rKey, V& rValue)
    {
        Node* pNode = nullptr;
        const QvResult res = Make(rKey, pNode, std::move(rValue));
        if (res != QV_RES_ALREADY_EXISTS) return res;
        // NOLINTNEXTLINE(bugprone-use-after-move): no entry was made, which would have taken it.
        Tree::ElementOf(pNode).value = std::move(rValue);
        return QV_RES_OK;
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
