using System;
using System.Diagnostics;

namespace Bx.Tests
{
    // Runs the cases whose names begin with the argument, where no test framework runs.
    internal static class Runner
    {
        private static int Main(string[] words)
        {
            var failed = 0;
            foreach (var one in Cases.All)
            {
                if (words.Length > 0 && !one.Name.StartsWith(words[0], StringComparison.Ordinal)) continue;
                var clock = Stopwatch.StartNew();
                try
                {
                    one.Run();
                    Console.Error.WriteLine("passed {0} in {1} ms", one.Name, clock.ElapsedMilliseconds);
                }
                catch (Exception failure)
                {
                    Console.Error.WriteLine("FAILED {0}: {1}", one.Name, failure);
                    ++failed;
                }
            }
            return failed;
        }
    }
}
