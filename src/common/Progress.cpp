#include "common/Progress.h"

namespace pw::common {

Progress& NoProgress() {
  // Stateless, so one instance serves every thread.
  static NullProgress instance;
  return instance;
}

}  // namespace pw::common
