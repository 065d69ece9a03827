#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

// A list of objects in the order in which they were added. It OWNS them: an object that is added belongs to the array,
// which lets it go when it is removed, cleared or destroyed. A user that has to outlast that takes a share; the object
// is deleted with its last owner.
//
// T must be complete where the array is destroyed. Not copyable; no lock of its own.
template <typename T>
class CRavPointerArray
{
  public:
    CRavPointerArray() = default;
    virtual ~CRavPointerArray() { Clear(); }
    CRavPointerArray(const CRavPointerArray&) = delete;
    CRavPointerArray& operator=(const CRavPointerArray&) = delete;

    // The added object, still owned by the array. A null pointer is not added.
    T* Add(std::shared_ptr<T> pObject)
    {
        if (!pObject)
            return nullptr;
        m_objects.push_back(std::move(pObject));
        return m_objects.back().get();
    }

    // Takes the object out and gives it to the caller; null when it is not in the array.
    std::shared_ptr<T> Take(const T* pObject)
    {
        for (auto it = m_objects.begin(); it != m_objects.end(); ++it)
        {
            if (it->get() != pObject)
                continue;
            std::shared_ptr<T> taken = std::move(*it);
            m_objects.erase(it);
            return taken;
        }
        return nullptr;
    }

    // Lets one object go; whether it was in the array.
    bool Remove(const T* pObject) { return Take(pObject) != nullptr; }

    // Lets all objects go. They are out of the array before the first is destroyed.
    void Clear()
    {
        std::vector<std::shared_ptr<T>> doomed;
        doomed.swap(m_objects);
    }

    size_t Size() const { return m_objects.size(); }
    bool IsEmpty() const { return m_objects.empty(); }
    // uIndex below Size.
    T* operator[](size_t uIndex) const { return m_objects[uIndex].get(); }

    // For range loops over std::shared_ptr<T>; adding and removing end the loop's right to go on.
    auto begin() const { return m_objects.begin(); }
    auto end() const { return m_objects.end(); }

  private:
    std::vector<std::shared_ptr<T>> m_objects;
};
