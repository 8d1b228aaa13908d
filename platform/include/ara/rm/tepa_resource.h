#pragma once

// The resource manager (libara_rm.so), as far as zarn uses it.
namespace ara::rm {

// Announces this process to the resource manager. False if it is not taken.
bool RegisterTepaResource();

// Ends the registration of this process. False if there is none.
bool UnRegisterTepaResource();

}  // namespace ara::rm
