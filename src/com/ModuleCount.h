// The one count that keeps the module loaded: live objects, factories, site, sink and explicit locks.
#pragma once

namespace kzr {

void LockModule() noexcept;
void UnlockModule() noexcept;
long ModuleLockCount() noexcept;

// Holds the module for the life of an object that has this as a member or base.
class ModuleReference {
  public:
    ModuleReference() noexcept { LockModule(); }
    ModuleReference(const ModuleReference&) = delete;
    ModuleReference& operator=(const ModuleReference&) = delete;
    ~ModuleReference() { UnlockModule(); }
};

}  // namespace kzr
