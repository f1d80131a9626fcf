#pragma once

#include <QApplication>
#include <QDialog>
#include <QTimer>

#include <functional>
#include <memory>

// Answers the next modal dialog of type T from inside its own event loop, for as long as the object
// lives. Until a T is the active modal widget the check looks again on each turn of the loop, so a
// dialog that comes and goes before it (a progress window) is passed over. A dialog that the answer
// leaves open is ended, so that a failed expectation inside the answer can't hang the test.
template <typename T> class ModalAnswerOf {
public:
    explicit ModalAnswerOf(std::function<void(T*)> act, int tries = 200)
        : mState(std::make_shared<State>()) {
        mState->act = std::move(act);
        arm(mState, tries);
    }
    ~ModalAnswerOf() { mState->alive = false; }
    ModalAnswerOf(const ModalAnswerOf&) = delete;
    ModalAnswerOf& operator=(const ModalAnswerOf&) = delete;

    // True once a dialog was there to answer.
    bool Answered() const { return mState->answered; }

private:
    struct State {
        std::function<void(T*)> act;
        bool alive = true;
        bool answered = false;
    };
    static void arm(const std::shared_ptr<State>& state, int triesLeft) {
        QTimer::singleShot(0, [state, triesLeft] {
            if (!state->alive || state->answered)
                return;
            if (auto* dialog = qobject_cast<T*>(QApplication::activeModalWidget())) {
                state->answered = true;
                state->act(dialog);
                if (dialog->isVisible())
                    dialog->done(QDialog::Rejected);
            } else if (triesLeft > 0) {
                arm(state, triesLeft - 1);
            }
        });
    }
    std::shared_ptr<State> mState;
};

using ModalAnswer = ModalAnswerOf<QDialog>;
