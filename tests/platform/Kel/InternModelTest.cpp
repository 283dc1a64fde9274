#include "InternWord.h"

#include <map>
#include <random>
#include <vector>

namespace {

using Mox::U64;

/// A seeded run of random operations on a table, compared with a map from contents to held
/// references and the set of objects announced to the current observer.
class RandomRun {
  public:
    RandomRun(Table::Ptr table, U64 seed)
      : table_(std::move(table))
      , random_(seed) {}

    void operate(int operations) {
        for (int i = 0; i < operations; ++i) {
            step();
            if (i % 1000 == 0) {
                check();
            }
        }
        while (!held_.empty()) {
            drop();
        }
        check();
    }

  private:
    std::size_t below(std::size_t bound) { return random_() % bound; }

    void step() {
        auto const choice = below(100);
        if (choice < 45 || held_.empty()) {
            hold(intern(*table_, below(contents)));
        } else if (choice < 55) {
            hold(held_[below(held_.size())]);
        } else if (choice < 60) {
            lookUp(below(contents));
        } else if (choice < 61) {
            observe();
        } else {
            for (int i = held_.size() > 400 ? 8 : 1; i > 0; --i) {
                drop();
            }
        }
    }

    void hold(Word::PtrConst word) {
        auto& model = model_[word->value()];
        if (model.holds++ == 0) {
            model.object = word.get();
            if (observed_) {
                told_.insert(word->value());
            }
        }
        ASSERT_EQ(model.object, word.get()) << "one content, two objects";
        held_.push_back(std::move(word));
    }

    void drop() {
        std::swap(held_[below(held_.size())], held_.back());
        auto const place = model_.find(held_.back()->value());
        if (--place->second.holds == 0) {
            told_.erase(place->first);
            model_.erase(place);
        }
        held_.pop_back();
    }

    void lookUp(U64 value) {
        auto const expected = model_.find(value);
        ASSERT_EQ(lookup(*table_, value).get(),
                  expected == model_.end() ? nullptr : expected->second.object);
    }

    /// Replaces the observer, possibly with none. The new one is notified only of later insertions.
    void observe() {
        observed_ = below(3) != 0;
        observer_ = Mox::makeActive<Observer>();
        table_->lifeTimeNotifieeIs(observed_ ? observer_ : nullptr);
        told_.clear();
    }

    void check() {
        ASSERT_EQ(table_->size(), model_.size());
        ASSERT_EQ(Word::alive, static_cast<int>(model_.size()));
        for (auto const& [value, each] : model_) {
            ASSERT_EQ(each.object->referenceCount(), each.holds + 1);
        }
        ASSERT_EQ(observer_->present, told_);
    }

    static constexpr std::size_t contents = 300;
    struct Model {
        Word const* object = nullptr;
        U64 holds = 0;
    };
    Table::Ptr table_;
    std::mt19937_64 random_;
    std::vector<Word::PtrConst> held_;
    std::map<U64, Model> model_;
    bool observed_ = false;
    Observer::Ptr observer_ = Mox::makeActive<Observer>();
    std::set<U64> told_;
};

using InternModel = Intern;
INSTANTIATE_TEST_SUITE_P(Mode, InternModel, bothPointerModes(), pointerModeName);

TEST_P(InternModel, AMillionRandomOperationsAgreeWithTheModel) {
    for (U64 seed = 1; seed <= 4; ++seed) {
        RandomRun run(table, seed);
        run.operate(250000);
        ASSERT_FALSE(HasFailure()) << "seed " << seed;
        table->lifeTimeNotifieeIs(nullptr);
    }
}

} // namespace
