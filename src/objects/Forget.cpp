// What the objects keep beyond their own lives, emptied in one place.
#include "objects/Certificate.h"
#include "objects/Creators.h"
#include "objects/Crypto.h"
#include "objects/CurrentCertificate.h"
#include "objects/DeviceMgr.h"
#include "objects/Util.h"

namespace kzr {

void ForgetObjects() noexcept
{
    CCertificate::Forget();
    CCrypto::Forget();
    CDeviceMgr::Forget();
    CUtil::Forget();
    ForgetCurrentCertificate();
}

}  // namespace kzr
