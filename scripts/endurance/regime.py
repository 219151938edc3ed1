# SPDX-License-Identifier: Apache-2.0
"""Shares the time among the activities, and keeps what came of them."""

import dataclasses
import random
import time
import traceback


@dataclasses.dataclass
class Outcome:
    """What came of one activity."""

    activity: object
    rounds: int = 0
    seconds: float = 0
    findings: list = dataclasses.field(default_factory=list)
    left_out: str = ""


class Regime:
    """Takes the activities in turn until the time is up; each has at least one round, or as many as are asked for. A round's
    chance depends on the seed, the activity and the number of the round alone."""

    LONGEST_TURN = 60
    # What is broken is broken: the time is for the others then.
    MOST_FINDINGS = 5

    def __init__(self, activities, seed, minutes, first_round=0, least_rounds=1, say=print):
        self.outcomes = [Outcome(activity, rounds=0) for activity in activities]
        self.seed = seed
        self.first_round = first_round
        self.least_rounds = least_rounds
        self.say = say
        self.seconds = 60 * minutes

    def run(self):
        start = time.monotonic()
        for outcome in self.outcomes:
            outcome.left_out = outcome.activity.missing() or ""
            if outcome.left_out:
                self.say(f"{outcome.activity.name}: left out, {outcome.left_out}")
        taken = [outcome for outcome in self.outcomes if not outcome.left_out]
        is_first = True
        while is_first or self._fits(taken, self.seconds - (time.monotonic() - start)):
            for position, outcome in enumerate(taken):
                left = self.seconds - (time.monotonic() - start)
                if is_first or self._fits([outcome], left):
                    share = max(left, 0) / (len(taken) - position)
                    self._turn(outcome, min(share, self.LONGEST_TURN))
            is_first = False
        for outcome in taken:
            self._guard(outcome, "its end", outcome.activity.close)

    def _fits(self, outcomes, seconds):
        """Whether there is time for a round of one of them."""
        return any(outcome.activity.shortest < seconds
                   and len(outcome.findings) < self.MOST_FINDINGS for outcome in outcomes)

    def _turn(self, outcome, seconds):
        begin = time.monotonic()
        while True:
            left = seconds - (time.monotonic() - begin)
            number = self.first_round + outcome.rounds
            chance = random.Random(f"{self.seed} {outcome.activity.name} {number}")
            outcome.rounds += 1
            is_right = self._guard(outcome, f"round {number}",
                                   lambda: outcome.activity.round(chance, max(left, 1)))
            if not is_right:
                # What it has under way is of no use any more.
                self._guard(outcome, "its end", outcome.activity.close)
            is_over = (time.monotonic() - begin + outcome.activity.shortest > seconds
                       and outcome.rounds >= self.least_rounds)
            if is_over or len(outcome.findings) >= self.MOST_FINDINGS:
                break
        outcome.seconds += time.monotonic() - begin

    def _guard(self, outcome, what, work):
        """False when the work has found something."""
        name = outcome.activity.name
        try:
            said = work()
        except Exception as finding:  # pylint: disable=broad-except
            where = traceback.extract_tb(finding.__traceback__)[-1]
            text = f"{what}: {type(finding).__name__} at {where.filename}:{where.lineno}: {finding}"
            outcome.findings.append(text)
            self.say(f"{name}: FINDING in {text}\n  again: scripts/endure 1 --seed {self.seed} "
                     f"--only {name} --round {self.first_round + max(outcome.rounds - 1, 0)}")
            return False
        if said:
            self.say(f"{name}: {what}: {said}")
        return True

    def table(self):
        rows = [("activity", "rounds", "seconds", "findings", "promise")]
        for outcome in self.outcomes:
            findings = "left out" if outcome.left_out else str(len(outcome.findings))
            rows.append((outcome.activity.name, str(outcome.rounds), f"{outcome.seconds:.0f}",
                         findings, outcome.activity.promise))
        widths = [max(len(row[column]) for row in rows) for column in range(4)]
        return "\n".join("  ".join([row[0].ljust(widths[0])] +
                                   [row[column].rjust(widths[column]) for column in (1, 2, 3)] +
                                   [row[4]]) for row in rows)

    def has_findings(self):
        return any(outcome.findings for outcome in self.outcomes)
