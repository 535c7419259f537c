#pragma once
// The commands of the host's command layer that this library provides.
//
// Each takes the host's arguments for a command: the number of outputs asked
// for and their array, the number of inputs and their array. A failure is
// raised as a foundation::core::except::MessageException, reported to the
// host through matrix::detail::do_legacy_qv_error first (the standard
// argument errors and the refusals of an input's text are only thrown).
// Outputs are handed to the caller, who owns them.
#include "tfsearch_path/Export.hpp"
#include "matrix/Matrix.hpp"

namespace Thornfell::PathManagement {

// Writes the cache file of the system toolboxes (no outputs, no inputs).
TFSP_API void FeatureCachePath(int outputCount, qvArray_tag** outputs, int inputCount, qvArray_tag** inputs);

// Sets the warning for folders that can't get a change handle to "always",
// "once" or "never", or leaves it with "status"; the option is read without
// regard to case. outputs[0] gets the name of the setting before the call.
TFSP_API void FeatureDirChangeHandleWarn(int outputCount, qvArray_tag** outputs, int inputCount, qvArray_tag** inputs);

// Sets the policy for folders on network file systems to "Reload",
// "TimecheckDir" or "None", or leaves it with "Status"; outputs[0] gets the
// name of the policy before the call.
TFSP_API void FeatureRemotePathPolicy(int outputCount, qvArray_tag** outputs, int inputCount, qvArray_tag** inputs);

// Prints each entry of the search path and each of its items to standard
// output; looks at no argument and sets no output.
TFSP_API void FeatureDumpMainSearchPath(int outputCount, qvArray_tag** outputs, int inputCount,
                                        const qvArray_tag** inputs);

// outputs[0] gets the canonical form of the path in inputs[0], relative
// paths taken against the working folder, as an array of the kind of the
// input: a character vector for a character vector, a string for a string.
TFSP_API void HiddenCanonicalizepath(int outputCount, qvArray_tag** outputs, int inputCount,
                                     const qvArray_tag** inputs);

// outputs[0] gets the folders that the packages installed after the stamp in
// inputs[0] put at the front of the path, and outputs[1], if asked for,
// those they put at the back, each list joined by ";".
TFSP_API void GetPathForPackagesInstalledAfter(int outputCount, matrix::unique_array_ptr* outputs, int inputCount,
                                               const qvArray_tag** inputs);

}  // namespace Thornfell::PathManagement
