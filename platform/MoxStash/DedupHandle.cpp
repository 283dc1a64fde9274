#include <MoxStash/DedupHandle.h>

namespace MoxStash {

DedupHandle::~DedupHandle() = default;

} // namespace MoxStash
