#include "attacks/linux/Endings.h"

#include "attacks/linux/Acts.h"
#include "client/RequestErrors.h"
#include "support/ActivatedDaemon.h"
#include "support/Application.h"
#include "support/ScratchFolder.h"

namespace qrt::test {
namespace {

/// One operation of a victim. A text that begins with "/" is a path below the scratch folder. The
/// scripts run there.
struct EndedOperation {
  const char* identifier;
  Array arguments;
  const char* prepare;
  /// Succeeds when everything is as before the operation or as after it, or, for trees, each of
  /// their objects is.
  const char* isWhole;
};

std::vector<EndedOperation> operationsToEnd() {
  const auto text = printed("seq 2 9000");
  return {
      {"modify-systemfile",
       {"/file", Data(text.begin(), text.end()), true},
       "seq 1 9000 >file; chmod 640 file; chown 7:8 file",
       "[ $(stat -c %a:%u:%g file) = 640:7:8 ]; seq 1 9000 | cmp -s - file || seq 2 9000 | cmp -s "
       "- file"},
      {"create-fileobject",
       {"/made", "X"},
       "",
       "[ ! -e made ] || [ $(stat -c %a:%s made) = 755:0 ]"},
      {"rename-fileobject",
       {"/old", "/new"},
       "echo text >old",
       "[ $(cat old new 2>/dev/null) = text ]"},
      {"create-link",
       {"/link", "/old", false},
       "",
       "[ ! -L link ] || [ $(readlink link) = $PWD/old ]"},
      {"delete-fileobjects",
       {"1", "0", "/tree"},
       "mkdir tree; for i in 1 2 3 4 5 6 7 8 9; do mkdir tree/$i; echo text >tree/$i/file; done",
       "[ -z \"$(find . -type f ! -size 5c)\" ]; [ ! -e tree ] || [ -d tree ]"},
      {"prop-permissions",
       {"/tree", 18, false, 2},
       "mkdir tree; chmod 705 tree; for i in 1 2 3 4 5 6 7 8 9; do echo text >tree/$i; chmod 600 "
       "tree/$i; done",
       "[ $(ls tree | wc -l) = 9 ]; [ -z \"$(find tree -type f ! -perm 600 ! -perm 605 ! -perm "
       "604)\" ]"},
      {"rename-stashfolder",
       {"/folder", "stash", true},
       "mkdir folder; chmod 750 folder; echo text >folder/file",
       "[ $(cat folder/file stash/file 2>/dev/null) = text ]"}};
}

class Rounds {
 public:
  explicit Rounds(unsigned seed) : scene_{daemon_.socketPath(), seed, Scene::makeNotes()} {
    attacker_.add("endings", 12345);
  }
  ~Rounds() { scene_.notes.isOver = true; }

  /// False when the attacker does not do its part in time.
  bool play(const EndedOperation& operation) {
    ++rounds_;
    // An ended change of a file leaves its hidden temporary file.
    scratch_.make("rm -rf ./* ./.[!.]*; " + std::string(operation.prepare));
    auto& notes = scene_.notes;
    {
      const auto victim = connect();
      notes.registered = rounds_;
      if (!notes.reaches(notes.aimed, rounds_)) return false;
      notes.begun = rounds_;
      if (victim) {
        note((*victim)->perform(operation.identifier, below(scratch_.path(), operation.arguments)));
      }
    }
    if (!notes.reaches(notes.ended, rounds_)) return false;
    const auto next = connect();
    unserved_ += !next || !(*next)->version();
    if (!scratch_.tryToMake(operation.isWhole)) {
      std::fprintf(stderr, "half done: %s\n%s", operation.identifier,
                   scratch_.printedBy("ls -lR").c_str());
      ++halfDone_;
    }
    return true;
  }

  void judge(Figures& figures) const {
    const auto& notes = scene_.notes;
    figures.atMost("rounds that the attacker did not finish", rounds_ - notes.ended, 0);
    figures.atLeast("rounds of aimed endings", rounds_, 1);
    figures.atLeast("calls that an ending met, %", 100.0 * met_ / rounds_, 5);
    figures.atMost("operations that failed otherwise", failed_, 0);
    figures.atMost("operations half done", halfDone_, 0);
    figures.atMost("next connections that were not served", unserved_, 0);
    figures.atMost("endings that failed", static_cast<double>(daemon_.failures()), 0);
  }

 private:
  Result<std::unique_ptr<Requestor>> connect() {
    return application_.connect(daemon_.socketPath(), floodedClient);
  }
  void note(const Outcome& outcome) {
    const bool isMet = outcome && isConnectionFailure(*outcome);
    met_ += isMet;
    failed_ += outcome && !isMet;
  }

  const Application application_;
  const ScratchFolder scratch_;
  ActivatedDaemon daemon_;
  const Scene scene_;
  Crowd attacker_{scene_};
  int rounds_ = 0, met_ = 0, failed_ = 0, halfDone_ = 0, unserved_ = 0;
};

}  // namespace

void judgeEndings(double seconds, unsigned seed, Figures& figures) {
  const auto operations = operationsToEnd();
  const auto begun = std::chrono::steady_clock::now();
  const auto isOver = [&] {
    return std::chrono::steady_clock::now() - begun >= std::chrono::duration<double>(seconds);
  };
  Rounds rounds(seed);
  for (std::size_t i = 0; i % operations.size() != 0 || !isOver(); ++i) {
    if (!rounds.play(operations[i % operations.size()])) break;
  }
  rounds.judge(figures);
}

}  // namespace qrt::test
