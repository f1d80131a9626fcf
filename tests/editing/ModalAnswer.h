#pragma once

#include <QApplication>
#include <QDialog>
#include <QTimer>

#include <functional>
#include <memory>

// Answers the next modal dialog from inside its own event loop, for as long as the object lives.
// A dialog that the answer leaves open is cancelled, so that a failed expectation inside the answer
// can't hang the test.
class ModalAnswer {
public:
    explicit ModalAnswer(std::function<void(QDialog*)> act)
        : mState(std::make_shared<State>()) {
        mState->act = std::move(act);
        arm(mState, 200);
    }
    ~ModalAnswer() { mState->alive = false; }
    ModalAnswer(const ModalAnswer&) = delete;
    ModalAnswer& operator=(const ModalAnswer&) = delete;

    // True once a dialog was there to answer.
    bool Answered() const { return mState->answered; }

private:
    struct State {
        std::function<void(QDialog*)> act;
        bool alive = true;
        bool answered = false;
    };
    static void arm(const std::shared_ptr<State>& state, int triesLeft) {
        QTimer::singleShot(0, [state, triesLeft] {
            if (!state->alive || state->answered)
                return;
            if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
                state->answered = true;
                state->act(dialog);
                if (dialog->isVisible())
                    dialog->reject();
            } else if (triesLeft > 0) {
                arm(state, triesLeft - 1);
            }
        });
    }
    std::shared_ptr<State> mState;
};
