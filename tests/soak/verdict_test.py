#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What counts as growth, on series that are made up."""
import random
import sys
import unittest

from verdict import FEWEST, WARM_UP, Limit, growth, levels

MEMORY = Limit("memory", "MB", 5, 0.02)
THREADS = Limit("threads", "threads", 1)


class VerdictTest(unittest.TestCase):
    def setUp(self):
        self.chance = random.Random(7)

    def noisy(self, count, level, noise, slope=0.0):
        return [level + slope * number + self.chance.uniform(-noise, noise) for number in range(count)]

    def test_a_flat_noisy_series_is_no_growth(self):
        for count in (FEWEST, 50, 2000):
            self.assertIsNone(growth(self.noisy(count, 150, 6), MEMORY), count)

    def test_a_slow_leak_is_growth_although_the_noise_is_larger_than_a_step(self):
        line = growth(self.noisy(200, 150, 6, slope=0.2), MEMORY)
        self.assertRegex(line, r"^memory grew from 1[56]\d\.?\d* to 18\d\.?\d* MB after the warm-up; 8\.\d+ more would be no growth$")

    def test_one_thread_more_is_allowed_and_two_are_not(self):
        self.assertIsNone(growth([20] * 30 + [21] * 30, THREADS))
        self.assertIsNotNone(growth([20] * 30 + [22] * 30, THREADS))

    def test_what_the_warm_up_takes_is_no_growth(self):
        count = 200
        rising = list(range(int(count * WARM_UP)))
        self.assertIsNone(growth(rising + [rising[-1]] * (count - len(rising)), MEMORY))

    def test_single_outliers_at_the_end_are_no_growth(self):
        self.assertIsNone(growth([100] * 97 + [900] * 3, MEMORY))

    def test_a_series_that_falls_is_no_growth(self):
        self.assertIsNone(growth(list(range(200, 0, -1)), MEMORY))

    def test_the_share_counts_of_the_level_after_the_warm_up(self):
        limit = Limit("memory", "MB", 0, 0.1)
        self.assertIsNone(growth([100.0] * 50 + [109.0] * 50, limit))
        self.assertIsNotNone(growth([100.0] * 50 + [111.0] * 50, limit))

    def test_a_few_measurements_say_nothing(self):
        self.assertIsNone(growth([1, 1000] * (FEWEST // 2 - 1), THREADS))

    def test_the_levels_are_the_medians_of_the_outer_thirds(self):
        self.assertEqual(levels([999] * 3 + [1, 2, 3] + [50] * 3 + [7, 8, 9]), (2, 8))


if __name__ == "__main__":
    sys.exit(unittest.main())
