#include "hostlogic.h"

namespace {

BeforeWrite actionFor(int type) {
    switch (type) {
        case elementVersion:
            return BeforeWrite::checkOut;
        case elementViewPrivate:
        case elementViewDerived:
        case elementDerivedObject:
        case elementCheckedOutFile:
            return BeforeWrite::nothing;
        default:
            return BeforeWrite::refuse;
    }
}

}  // namespace

WritePlan planWrite(ClearCaseConnection& connection, const std::string& path) {
    constexpr int mostLinks = 40;
    std::string file = path;
    for (int links = 0; links <= mostLinks; ++links) {
        std::string target;
        const int type = connection.getElementStatus(file.c_str(), nullptr, &target);
        if (type != elementSymbolicLink) {
            return {actionFor(type), file};
        }
        file = target;
    }
    return {BeforeWrite::refuse, path};
}

std::string describe(const WritePlan& plan) {
    switch (plan.action) {
        case BeforeWrite::nothing:
            return "write " + plan.path;
        case BeforeWrite::checkOut:
            return "check out and write " + plan.path;
        case BeforeWrite::refuse:
            break;
    }
    return "refuse to write " + plan.path;
}
