#include "control/ConnectionPointContainer.h"

#include "control/Enumerator.h"
#include "control/USBKeyPnPActiveXCtrl.h"

namespace kzr {
namespace {

struct PointList {
    using Interface = IEnumConnectionPoints;
    using Item = IConnectionPoint*;
    using Held = ComPtr<IConnectionPoint>;
    static HRESULT Give(const Held& held, Item& item) noexcept
    {
        item = Held(held).Detach();
        return S_OK;
    }
    static void TakeBack(Item& item) noexcept { Held::Adopt(item).Reset(); }
};

}  // namespace

STDMETHODIMP ConnectionPointContainer::EnumConnectionPoints(IEnumConnectionPoints** enumerator)
{
    if (!enumerator) return E_POINTER;
    *enumerator = nullptr;
    return m_control.Guard([=, this] {
        std::vector<PointList::Held> points;
        points.emplace_back(&m_events);
        points.emplace_back(&m_propertyNotify);
        return Enumerator<PointList>::Make(std::move(points), enumerator);
    });
}

STDMETHODIMP ConnectionPointContainer::FindConnectionPoint(REFIID iid, IConnectionPoint** point)
{
    if (!point) return E_POINTER;
    *point = nullptr;
    for (ConnectionPoint* each : {&m_events, &m_propertyNotify}) {
        if (!IsEqualIID(each->Iid(), iid)) continue;
        each->AddRef();
        *point = each;
        return S_OK;
    }
    return CONNECT_E_NOCONNECTION;
}

}  // namespace kzr
