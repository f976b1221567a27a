"""Measures the daemon beside what a user would pick instead, and beside the limit."""
