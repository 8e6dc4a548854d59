// The page of a run that is over.
#pragma once

#include <string>

namespace k4sim {

// Writes report.html anew into the folder of a record, or the page FILE.html beside the saved
// console of a real device. Returns its name. Throws UsageError or std::runtime_error for what is
// neither, and for a page that can't be written or that would replace a file of another kind.
std::string write_page(const std::string& path);

} // namespace k4sim
