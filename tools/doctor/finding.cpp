#include "tools/doctor/finding.h"

#include <algorithm>

namespace orva_accelerator::tools {

const char* VerdictName(Verdict verdict) {
  switch (verdict) {
    case Verdict::Ok:
      return "ok";
    case Verdict::NotChecked:
      return "not checked";
    case Verdict::Warning:
      return "warning";
    case Verdict::Problem:
      return "problem";
  }
  return "problem";
}

Verdict WorstOf(const Findings& findings) {
  Verdict worst = Verdict::Ok;
  for (const Finding& finding : findings) worst = std::max(worst, finding.verdict);
  return worst;
}

}  // namespace orva_accelerator::tools
