using System;
using System.Diagnostics;
using System.Linq;

namespace Bx.Tests {
    // Runs the cases that are named, or all, where no test framework runs.
    internal static class Runner {
        private static int Main(string[] names) {
            var failed = 0;
            foreach (var name in names.Length > 0 ? names : Cases.All.Keys.ToArray()) {
                var clock = Stopwatch.StartNew();
                try {
                    Cases.All[name]();
                    Console.Error.WriteLine("passed {0} in {1} ms", name, clock.ElapsedMilliseconds);
                } catch (Exception failure) {
                    Console.Error.WriteLine("FAILED {0}: {1}", name, failure);
                    ++failed;
                }
            }
            return failed;
        }
    }
}
