// The .g text form of an STG, and the choice of writer by file name for nets and prefixes.
#include <fstream>
#include <set>
#include <string_view>
#include <vector>

#include "model/formats/format_common.h"
#include "model/formats/legacy_names.h"
#include "model/formats/writers.h"
#include "platform/reporter.h"

namespace nurex {

namespace {

// A place with one producer and one consumer is written as an arc between them.
bool isImplicit(const Place* p) { return p->preset.size() == 1 && p->postset.size() == 1; }

void writeSignalLists(const Stg& stg, std::ostream& out) {
  static const char* const keywords[] = {".inputs", ".outputs", ".internal", ".dummy"};
  for (uint8_t kind = SignalInput; kind <= SignalDummy; ++kind) {
    bool any = false;
    for (const Signal* s : stg.signals) {
      if (s->kind != kind) continue;
      if (!any) out << '\n' << keywords[kind];
      any = true;
      out << ' ' << s->name;
    }
  }
}

bool isDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// A token of the graph is a transition when it is a dummy's name or a signal's name with
// "+", "-" or "~", either with "/number"; a place of such a name would come back as one.
bool readsAsTransition(std::string_view token, const std::set<std::string, std::less<>>& dummies,
                       const std::set<std::string, std::less<>>& signals) {
  size_t slash = token.rfind('/');
  if (slash != std::string_view::npos && isDigits(token.substr(slash + 1))) token = token.substr(0, slash);
  if (dummies.count(token)) return true;
  return !token.empty() && std::string_view("+-~").find(token.back()) != std::string_view::npos &&
         signals.count(token.substr(0, token.size() - 1));
}

// The names under which places are written. A name that would not come back as the same
// place is replaced by a fresh one: blanks or '#' (they end a token), a name read as a
// transition, a leading '<' on a place not written as an arc (the reader gives such names
// to the places between two transitions), and, for a marked place, '=' or braces, which
// the marking reads otherwise.
std::vector<std::string> placeNames(const Stg& stg) {
  std::set<std::string, std::less<>> dummies, signals, taken;
  for (const Signal* s : stg.signals) (s->kind == SignalDummy ? dummies : signals).insert(s->name);
  for (const Place* p : stg.places) taken.insert(p->name);
  std::vector<std::string> names;
  for (const Place* p : stg.places) {
    const std::string& name = p->name;
    bool unreadable = name.empty() || name.find_first_of(" \t\r\n\f\v#") != std::string::npos ||
                      readsAsTransition(name, dummies, signals) || (!isImplicit(p) && name[0] == '<');
    bool unmarkable = p->tokens && name.find_first_of("={}") != std::string::npos;
    if (!unreadable && !unmarkable) {
      names.push_back(name);
      continue;
    }
    std::string fresh = "p" + std::to_string(p->index);
    for (uint32_t k = 1; taken.count(fresh) || readsAsTransition(fresh, dummies, signals); ++k)
      fresh = "p" + std::to_string(p->index) + "_" + std::to_string(k);
    taken.insert(fresh);
    names.push_back(fresh);
  }
  return names;
}

void writeGraph(const Stg& stg, const std::vector<std::string>& names, std::ostream& out) {
  out << "\n\n.graph";
  for (const Place* p : stg.places) {
    if (isImplicit(p) || p->postset.empty()) continue;
    out << '\n' << names[p->index];
    for (const Transition* t : p->postset) out << ' ' << withoutKindPrefix(t->name);
  }
  for (const Transition* t : stg.transitions) {
    if (t->postset.empty()) continue;
    out << '\n' << withoutKindPrefix(t->name);
    for (const Place* p : t->postset)
      out << ' ' << (isImplicit(p) ? withoutKindPrefix(p->postset[0]->name) : names[p->index]);
  }
  // A node without arcs is a line of its own, or it would not come back when read.
  for (const Place* p : stg.places)
    if (p->preset.empty() && p->postset.empty()) out << '\n' << names[p->index];
  for (const Transition* t : stg.transitions)
    if (t->preset.empty() && t->postset.empty()) out << '\n' << withoutKindPrefix(t->name);
}

void writeMarking(const Stg& stg, const std::vector<std::string>& names, std::ostream& out) {
  out << "\n\n.marking {";
  for (const Place* p : stg.places) {
    if (p->tokens == 0) continue;
    out << ' ';
    if (isImplicit(p))
      out << '<' << withoutKindPrefix(p->preset[0]->name) << ',' << withoutKindPrefix(p->postset[0]->name) << '>';
    else out << names[p->index];
    if (p->tokens > 1) out << '=' << p->tokens;
  }
  out << " }";
}

bool isPnmlName(const std::string& fileName) { return endsWith(fileName, ".pnml") || endsWith(fileName, ".pnml.gz"); }

}  // namespace

bool writeStgText(const Stg& stg, std::ostream& stream) {
  if (!stg.name.empty() && stg.name.find_first_of(" \t\r\n#") == std::string::npos) stream << ".model " << stg.name << "\n";
  writeSignalLists(stg, stream);
  std::vector<std::string> names = placeNames(stg);
  writeGraph(stg, names, stream);
  writeMarking(stg, names, stream);
  stream << "\n.end\n";
  stream.flush();
  return static_cast<bool>(stream);
}

bool saveStg(const Stg& stg, const std::string& fileName) {
  if (endsWith(fileName, "g")) {
    std::ofstream out(fileName, std::ios::binary);
    if (!out) {
      reportError(cannotOpenForOutput(fileName));
      return false;
    }
    if (writeStgText(stg, out)) return true;
    reportError(cannotWriteFile());
    return false;
  }
  if (!isPnmlName(fileName)) reportWarning(unknownFileExtension(fileName));
  return writeNetPnml(stg, fileName);
}

template <class Net>
bool savePrefix(Prefix<Net>& prefix, const std::string& fileName) {
  if (endsWith(fileName, "mci")) {
    std::ofstream out(fileName, std::ios::binary);
    if (!out) {
      reportError(cannotOpenForOutput(fileName));
      return false;
    }
    if constexpr (!Net::isStg) return writePrefixMci(prefix, out);
    else {
      addKindPrefixes(prefix);
      bool written = writePrefixMci(prefix, out);
      removeKindPrefixes(prefix);
      sortNodes(prefix);
      sortArcs(prefix);
      return written;
    }
  }
  if (!isPnmlName(fileName)) reportWarning(unknownFileExtension(fileName));
  return writeUnitPnml(prefix, fileName);
}

template bool savePrefix<PetriNet>(PetriNetPrefix&, const std::string&);
template bool savePrefix<Stg>(StgPrefix&, const std::string&);

}  // namespace nurex
