#pragma once

/// \file
/// The explicit list of a type's dependencies, for `registerType`.

namespace tavreldi {

/// Names the dependencies of a type registered with `registerType`, in the order of its
/// constructor's parameters: the type is made from one `std::shared_ptr<D>` per listed `D`.
///
/// Give it where the dependencies cannot be deduced from the constructors (several
/// constructors take `std::shared_ptr` arguments, or one is a template), in either of two
/// places; the call's list wins over the type's:
///
/// - in the type: `struct Cache { using Dependencies = tavreldi::Dependencies<Config>; ... };`
/// - at the call: `container.registerType<Cache, tavreldi::Dependencies<Config>>(scope);`
///
/// It holds nothing; only its template arguments matter.
template <class... Ds>
struct Dependencies {};

}  // namespace tavreldi
