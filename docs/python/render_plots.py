#!/usr/bin/python3
"""Renders the figures of docs/python.md (Debian's python3-matplotlib):

    PYTHONPATH=build/python /usr/bin/python3 docs/python/render_plots.py

accuracy.png: the error of float32 Exp, Ln and Sin at the three accuracy levels, in ulps, against
the double result rounded once; splines.png: cubic splines under scipy's boundary conditions
through a few points of a damped wave, with their first derivatives.
"""
import os

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402

import oxl  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))


def ulps(got, want):
    spacing = np.spacing(np.abs(want).astype(np.float32)).astype(np.float64)
    return (got.astype(np.float64) - want) / spacing


def accuracy():
    fig, axes = plt.subplots(1, 3, figsize=(12, 3.4), sharey=True)
    for ax, (name, ours, exact, low, high) in zip(axes, (
            ("exp", oxl.vm.exp, np.exp, -80.0, 80.0),
            ("ln", oxl.vm.ln, np.log, 1e-3, 1e3),
            ("sin", oxl.vm.sin, np.sin, -20.0, 20.0))):
        x = np.sort(np.random.default_rng(1).uniform(low, high, 20000)).astype(np.float32)
        want = exact(x.astype(np.float64))
        for level, colour in (("ep", "tab:red"), ("la", "tab:orange"), ("ha", "tab:blue")):
            err = ulps(ours(x, accuracy=level), want)
            ax.plot(x, np.abs(err), ".", ms=1, color=colour,
                    label=f"{level.upper()}: max {np.abs(err).max():.2f} ulp")
        ax.set_yscale("symlog", linthresh=1.0)
        ax.set_title(f"oxl.vm.{name}, float32")
        ax.set_xlabel("x")
        ax.legend(loc="upper left", fontsize=8, markerscale=8)
    axes[0].set_ylabel("|error| in ulps")
    fig.tight_layout()
    fig.savefig(os.path.join(HERE, "accuracy.png"), dpi=90)


def splines():
    x = np.linspace(0.0, 6.0, 8)
    y = np.exp(-0.3 * x) * np.cos(2.0 * x)
    t = np.linspace(-0.3, 6.3, 400)
    fig, (top, bottom) = plt.subplots(2, 1, figsize=(8, 6), sharex=True)
    top.plot(x, y, "ko", label="data")
    for bc in ("not-a-knot", "natural", "clamped"):
        s = oxl.fit.CubicSpline(x, y, bc_type=bc)
        top.plot(t, s(t), label=f'CubicSpline(bc_type="{bc}")')
        bottom.plot(t, s(t, nu=1), label=f"first derivative, {bc}")
    top.plot(t, np.exp(-0.3 * t) * np.cos(2.0 * t), "k:", lw=1, label="the wave")
    top.legend(fontsize=8)
    bottom.legend(fontsize=8)
    bottom.set_xlabel("x")
    fig.tight_layout()
    fig.savefig(os.path.join(HERE, "splines.png"), dpi=90)


if __name__ == "__main__":
    accuracy()
    splines()
