#pragma once

#include <linux/capability.h>

#include <array>

namespace zarn::test {

// For as long as it lives the permissions of files hold for this thread, though it may be root's:
// a file of mode 0 cannot be opened, not by its owner either. Who is not root has no other rights
// anyway.
class OrdinaryRights {
public:
    OrdinaryRights();
    OrdinaryRights(const OrdinaryRights&) = delete;
    OrdinaryRights& operator=(const OrdinaryRights&) = delete;
    ~OrdinaryRights();

private:
    std::array<__user_cap_data_struct, 2> before_{};
};

}  // namespace zarn::test
