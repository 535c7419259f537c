// Functions that several parts of the library share.
namespace Thornfell::PathManagement {

// Module hooks of the library: nothing to do at load or unload.
void initializeFcn() {}
void terminateFcn() {}

} // namespace Thornfell::PathManagement
