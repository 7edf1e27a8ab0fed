// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#pragma once

// Before <concepts>, which moc cannot read as the first header of all.
#include <cstddef>

#include <compare>
#include <concepts>
#include <memory>
#include <type_traits>
#include <utility>

namespace tqm {

/**
 * A shared-ownership handle: copies share one reference group, the pointee goes with the last of
 * them.
 *
 * Converting a handle to one of another type is a checked cast: when the pointee is of the wanted
 * type the new handle joins the group (and shares its count), otherwise it is null and the source
 * is untouched. Nothing throws. Constness can be added, never taken away. Counting is thread-safe;
 * one handle object is not.
 */
template <class T>
class smart
{
public:
    using element_type = T;

    /** Makes a null handle. */
    smart() noexcept = default;
    smart(std::nullptr_t) noexcept { }

    /** Takes ownership of `pointer`, deleted by `delete` when the last handle goes. */
    template <class U>
    requires std::is_convertible_v<U*, T*>
    explicit smart(U* pointer) : m_pointee(pointer) { }

    /** Takes ownership of `pointer`; `deleter(pointer)` runs when the last handle goes. */
    template <class U, class Deleter>
    requires std::is_convertible_v<U*, T*> smart(U* pointer, Deleter deleter)
        : m_pointee(pointer, std::move(deleter))
    {
    }

    /** Converts by a checked cast; see the class. */
    template <class U>
    requires(!std::same_as<U, T> && (std::is_const_v<T> || !std::is_const_v<U>))
        smart(const smart<U>& other)
    {
        if constexpr (std::is_convertible_v<U*, T*>)
            m_pointee = other.m_pointee;
        else
            m_pointee = std::dynamic_pointer_cast<T>(other.m_pointee);
    }

    /** Lets go of what the handle held and starts a new group with `pointer` and its `deleter`. */
    template <class Deleter = std::default_delete<T>>
    void createGroup(T* pointer, Deleter deleter = Deleter())
    {
        m_pointee = std::shared_ptr<T>(pointer, std::move(deleter));
    }

    /** Makes the handle null, releasing its share. */
    void reset() noexcept { m_pointee.reset(); }

    bool null() const noexcept { return !m_pointee; }
    explicit operator bool() const noexcept { return !null(); }
    T* get() const noexcept { return m_pointee.get(); }
    T* operator->() const noexcept { return m_pointee.get(); }
    T& operator*() const noexcept { return *m_pointee; }

    /** Returns how many handles share the pointee; 0 for a null handle. */
    long useCount() const noexcept { return m_pointee.use_count(); }

    /** Handles are equal when they point at the same object. */
    template <class U>
    bool operator==(const smart<U>& other) const noexcept
    {
        return get() == other.get();
    }

    template <class U>
    auto operator<=>(const smart<U>& other) const noexcept
    {
        return std::compare_three_way()(get(), other.get());
    }

private:
    template <class>
    friend class smart;

    std::shared_ptr<T> m_pointee;
};

} // namespace tqm
