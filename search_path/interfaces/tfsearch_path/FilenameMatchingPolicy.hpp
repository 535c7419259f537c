#pragma once
// How names are compared, on its own so that a header free of the library's
// string and location types can name it.
#include <cstdint>

namespace Thornfell::PathManagement {

// Each policy selects a fixed comparison of the storage system:
//   CaseRuleOne        exact: equal 16-bit code units
//   CaseRuleTwo        folded: equal simple Unicode case foldings
//   StorageSystemRule  the storage system's own rule (exact on POSIX); folder
//                      IRIs are then resolved through the storage system
enum FilenameMatchingPolicy : std::int32_t {
    CaseRuleOne = 0,
    CaseRuleTwo = 1,
    StorageSystemRule = 2,
};

}  // namespace Thornfell::PathManagement
