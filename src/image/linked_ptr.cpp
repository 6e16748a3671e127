// The ring of handles: joining, leaving, and who destroys the pointee.
#include "image/linked_ptr.h"

#include <utility>

CLinkedPtrBase::CLinkedPtrBase(void* pointee)
    : m_pointee(pointee), m_lock(pointee != nullptr ? new std::mutex : nullptr)
{
}

void CLinkedPtrBase::Assign(const CLinkedPtrBase& source)
{
    if (m_pointee != source.m_pointee) {
        Release();
        Join(source);
    } else if (m_pointee != nullptr && !Shares(source)) {
        // Two rings were made from one raw pointer: this handle brings its ring into the other.
        delete m_lock;
        Join(source);
    }
}

bool CLinkedPtrBase::Shares(const CLinkedPtrBase& other) const
{
    if (m_pointee == nullptr) {
        return false;
    }
    const std::lock_guard entered(*m_lock);
    const CLinkedPtrBase* member = m_next;
    while (member != &other && member != this) {
        member = member->m_next;
    }
    return member == &other;
}

// The source's pointee and lock are read before the lock is entered: that is safe because only the
// owner of a handle changes them, while other handles of the ring change its m_next at any time.
void CLinkedPtrBase::Join(const CLinkedPtrBase& source)
{
    if (source.m_pointee == nullptr) {
        return;
    }
    m_lock = source.m_lock;
    const std::lock_guard entered(*m_lock);
    m_pointee = source.m_pointee;
    std::swap(m_next, source.m_next);
}

void CLinkedPtrBase::Release()
{
    if (m_pointee == nullptr) {
        return;
    }
    m_lock->lock();
    const bool last = m_next == this;
    if (last) {
        DestroyPointee();
    } else {
        const CLinkedPtrBase* before = m_next;
        while (before->m_next != this) {
            before = before->m_next;
        }
        before->m_next = m_next;
    }
    m_lock->unlock();
    if (last) {
        delete m_lock;
    }
    m_pointee = nullptr;
    m_next = this;
    m_lock = nullptr;
}
