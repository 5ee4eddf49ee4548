/// imports.h: the imports of loaded objects: where an object keeps the address of each function that it calls in
/// others. The probe leads some of them to functions of its own and puts them back at the end.
#ifndef KESTRUNE_PROBE_IMPORTS_H_
#define KESTRUNE_PROBE_IMPORTS_H_

#include <cstddef>
#include <functional>
#include <string_view>

namespace probe {

/// What an import of the object at `base` is led to, or null to leave it alone; `before` is where it leads now.
using Redirection = std::function<void*(const void* base, std::string_view name, void* before)>;

/// Redirects the imports of the loaded objects that `isMeant` accepts by their paths (that of the program is empty) and
/// their base addresses. Returns how many it has redirected.
size_t RedirectImports(const std::function<bool(std::string_view path, const void* base)>& isMeant,
                       const Redirection& redirection);

/// Leads every import that was redirected, and whose object is still there, to where it led before.
void RestoreImports();

/// Has forks wait until no other thread is at work on imports: a child that ends would wait for that thread for ever.
void KeepImportsWholeInForks();

/// Whether objects have come or gone since the last time this was asked.
bool HaveObjectsChanged();

}  // namespace probe

#endif  // KESTRUNE_PROBE_IMPORTS_H_
