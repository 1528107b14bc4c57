// Assertions of the engine's inline members. They hold in every build type, NDEBUG or not, because
// callers rely on a wrong index or an empty handle ending the run instead of reading foreign
// memory.
#ifndef PLANLOC_ENGINE_ILC_ASSERT_H_
#define PLANLOC_ENGINE_ILC_ASSERT_H_

namespace planloc {
namespace detail {

// Ends the process through the run-time assertion: prints file, line, function and `text`, then
// aborts.
[[noreturn]] void assertion_failed(const char* text, const char* file, int line,
                                   const char* function);

// `text` is part of the contract of the member that asserts. The place is that of the caller.
inline void ilc_assert(bool holds, const char* text, const char* file = __builtin_FILE(),
                       int line = __builtin_LINE(), const char* function = __builtin_FUNCTION()) {
  if (!holds) [[unlikely]]
    assertion_failed(text, file, line, function);
}

}  // namespace detail
}  // namespace planloc

#endif  // PLANLOC_ENGINE_ILC_ASSERT_H_
