#include "edge/EdgeDetectionController.h"

namespace zeb::edge {

EdgeDetectionController::~EdgeDetectionController() = default;

}  // namespace zeb::edge
