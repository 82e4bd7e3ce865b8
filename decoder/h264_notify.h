// Work that waits for a picture's decoding to finish: releasing old parameter sets and references.
#pragma once

#include <memory>
#include <utility>

namespace UMC {

class notifier_base
{
public:
    virtual ~notifier_base() = default;
    virtual void Notify() = 0;

    notifier_base* m_pNext = nullptr;
};

// Notifiers in the order in which they were added. Destruction drops them without running them.
class NotifiersChain final : public notifier_base
{
public:
    NotifiersChain() = default;
    NotifiersChain(const NotifiersChain&) = delete;
    NotifiersChain& operator=(const NotifiersChain&) = delete;
    ~NotifiersChain() override { Clear(); }

    void Add(std::unique_ptr<notifier_base> pNotifier)
    {
        notifier_base* const pNew = pNotifier.release();
        (m_pTail ? m_pTail->m_pNext : m_pHead) = pNew;
        m_pTail = pNew;
    }
    void MoveFrom(NotifiersChain& Other) // appends everything of Other
    {
        if (!Other.m_pHead) return;
        (m_pTail ? m_pTail->m_pNext : m_pHead) = std::exchange(Other.m_pHead, nullptr);
        m_pTail = std::exchange(Other.m_pTail, nullptr);
    }
    void Notify() override // runs and deletes each
    {
        while (const std::unique_ptr<notifier_base> pFirst = TakeFirst()) pFirst->Notify();
    }
    void Clear()
    {
        while (TakeFirst()) {
        }
    }
    bool IsEmpty() const { return !m_pHead; }

private:
    std::unique_ptr<notifier_base> TakeFirst()
    {
        std::unique_ptr<notifier_base> pFirst(m_pHead);
        if (m_pHead) m_pHead = m_pHead->m_pNext;
        if (!m_pHead) m_pTail = nullptr;
        return pFirst;
    }

    notifier_base* m_pHead = nullptr;
    notifier_base* m_pTail = nullptr;
};

// Calls a member function of no arguments.
template <class T>
class notifier0 final : public notifier_base
{
public:
    notifier0(T* pObject, void (T::*pFunction)()) : m_pObject(pObject), m_pFunction(pFunction) {}
    void Notify() override { (m_pObject->*m_pFunction)(); }

private:
    T* m_pObject;
    void (T::*m_pFunction)();
};

// Calls a member function of two arguments.
template <class T, class A, class B>
class notifier2 final : public notifier_base
{
public:
    notifier2(T* pObject, void (T::*pFunction)(A, B), A First, B Second)
        : m_pObject(pObject), m_pFunction(pFunction), m_First(First), m_Second(Second)
    {
    }
    void Notify() override { (m_pObject->*m_pFunction)(m_First, m_Second); }

private:
    T* m_pObject;
    void (T::*m_pFunction)(A, B);
    A m_First;
    B m_Second;
};

} // namespace UMC
