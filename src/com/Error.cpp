#include "com/Error.h"

namespace kzr {

void Fail(HRESULT result) { throw ComError(result); }

}  // namespace kzr
