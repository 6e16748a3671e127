// CLinkedPtr, the shared handle through which every image is passed.
//
//   handle A --next--> handle B --next--> handle C --next--> A      one ring, one lock,
//      \___________________ pointee and lock ___________________/   one pointee
//
// The last handle of a ring to be released destroys the pointee and the lock. The lock guards only
// the ring; what the handles point to is never locked. Threads may copy and release handles of one
// ring at the same time as long as no thread changes a handle that another one is using.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

// The part that does not depend on the pointee's type.
class CLinkedPtrBase
{
public:
    virtual ~CLinkedPtrBase() = default;
    // A new heap handle that joins this ring; the caller owns it.
    virtual CLinkedPtrBase* Clone() const = 0;

    bool IsEmpty() const { return m_pointee == nullptr; }
    // Is other in this ring?
    bool Shares(const CLinkedPtrBase& other) const;
    // Leaves the ring, destroying the pointee when alone in it; the handle ends empty.
    void Release();

protected:
    CLinkedPtrBase() = default;
    explicit CLinkedPtrBase(void* pointee);
    CLinkedPtrBase(const CLinkedPtrBase&) = delete;
    CLinkedPtrBase& operator=(const CLinkedPtrBase&) = delete;

    virtual void DestroyPointee() = 0;

    // For an empty handle, or one that is alone in its ring.
    void Join(const CLinkedPtrBase& source);
    // A handle made from the same raw pointer as the source, but in a ring of its own, must be
    // alone there: the ring's other handles would keep its destroyed lock.
    void Assign(const CLinkedPtrBase& source);

    void* m_pointee = nullptr;
    mutable const CLinkedPtrBase* m_next = this;
    std::mutex* m_lock = nullptr;
};

template <typename T>
class CLinkedPtr : public CLinkedPtrBase
{
public:
    CLinkedPtr() = default;
    // Takes ownership of the object.
    explicit CLinkedPtr(T* pointee) : CLinkedPtrBase(pointee) {}
    CLinkedPtr(const CLinkedPtr& source) : CLinkedPtrBase() { Join(source); }
    CLinkedPtr& operator=(const CLinkedPtr& source)
    {
        Assign(source);
        return *this;
    }
    ~CLinkedPtr() override { Release(); }

    CLinkedPtr* Clone() const override { return new CLinkedPtr(*this); }

    T* Get() const { return static_cast<T*>(m_pointee); }
    T* operator->() const { return Get(); }
    T& operator*() const { return *Get(); }
    explicit operator bool() const { return m_pointee != nullptr; }

protected:
    void DestroyPointee() override { delete Get(); }
};

// The same handle over a plain byte block, made with new std::uint8_t[].
class CLinkedBuffer : public CLinkedPtrBase
{
public:
    CLinkedBuffer() = default;
    explicit CLinkedBuffer(std::uint8_t* block) : CLinkedPtrBase(block) {}
    CLinkedBuffer(const CLinkedBuffer& source) : CLinkedPtrBase() { Join(source); }
    CLinkedBuffer& operator=(const CLinkedBuffer& source)
    {
        Assign(source);
        return *this;
    }
    ~CLinkedBuffer() override { Release(); }

    CLinkedBuffer* Clone() const override { return new CLinkedBuffer(*this); }
    std::uint8_t* Get() const { return static_cast<std::uint8_t*>(m_pointee); }

protected:
    void DestroyPointee() override { delete[] Get(); }
};
