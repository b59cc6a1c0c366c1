#include "backend/KzrAppEventSink.h"

#include <memory>
#include <new>

#include "com/Interfaces.h"

namespace kzr {

const IID kBackendEventsIid = {0xdfdaba17, 0xd518, 0x42a6, {0x81, 0xde, 0xc9, 0x0c, 0x8e, 0xc3, 0x2b, 0xcf}};

HRESULT CKzrAppEventSink::Create(CKzrAppEventSink** sink) noexcept
{
    if (!sink) return E_POINTER;
    *sink = new (std::nothrow) CKzrAppEventSink();
    return *sink ? S_OK : E_OUTOFMEMORY;
}

CKzrAppEventSink::~CKzrAppEventSink()
{
    EventListener* record = m_listeners.load(std::memory_order_acquire);
    while (record) {
        const std::unique_ptr<EventListener> done(record);
        record = done->next.load(std::memory_order_acquire);
    }
}

void CKzrAppEventSink::AddListener(HWND window)
{
    std::unique_ptr<EventListener> record(new EventListener{window, kDeviceChangeMessage,
                                                            GetWindowThreadProcessId(window, nullptr),
                                                            GetClassLongPtrW(window, GCW_ATOM), nullptr});

    // Walks to the end and links there; another thread's record that got in first is looked at like the rest.
    std::atomic<EventListener*>* link = &m_listeners;
    for (;;) {
        EventListener* found = link->load(std::memory_order_acquire);
        if (!found && link->compare_exchange_strong(found, record.get(), std::memory_order_acq_rel)) {
            record.release();
            return;
        }
        if (found->window == window && IsStillThere(*found)) return;
        link = &found->next;
    }
}

bool CKzrAppEventSink::IsStillThere(const EventListener& record) noexcept
{
    return GetWindowThreadProcessId(record.window, nullptr) == record.thread &&
           GetClassLongPtrW(record.window, GCW_ATOM) == record.windowClass;
}

STDMETHODIMP CKzrAppEventSink::QueryInterface(REFIID iid, void** object)
{
    IDispatch* const sink = this;
    const InterfaceEntry entries[] = {
        {&IID_IUnknown, sink}, {&IID_IDispatch, sink}, {&kBackendEventsIid, sink}};
    return AnswerInterface(entries, iid, object);
}

STDMETHODIMP CKzrAppEventSink::Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*)
{
    for (const EventListener* record = m_listeners.load(std::memory_order_acquire); record;
         record = record->next.load(std::memory_order_acquire)) {
        if (IsStillThere(*record)) PostMessageW(record->window, record->message, 0, 0);
    }
    return S_OK;
}

}  // namespace kzr
