#include "runtime/prompts.hpp"

namespace synthor {

MsgResult defaultAnswer(int style) {
    return (style & 7) == msgstyle::RetryCancel ? MsgResult::Cancel : MsgResult::Ok;
}

}  // namespace synthor
