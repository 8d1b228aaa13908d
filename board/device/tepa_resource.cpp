#include "ara/rm/tepa_resource.h"

namespace ara::rm {

bool RegisterTepaResource() {
    return false;
}

bool UnRegisterTepaResource() {
    return false;
}

}  // namespace ara::rm
