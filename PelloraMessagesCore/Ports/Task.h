// The one alias for an asynchronous result. Everything asynchronous in the core runs on the main thread as a
// coroutine; no other header of the core names the library behind it. Everything that a coroutine awaits must be owned
// by its own frame: destroying a Task does not stop the coroutine that fills it.
#pragma once

#include <QCoroTask>

namespace pellora {

template <class Value = void>
using Task = QCoro::Task<Value>;

}  // namespace pellora
