using System;
using System.Diagnostics;

namespace Bx.Tests {
    // What an engine's editor does at each Play: a domain that streams on one lane and connects another one is
    // unloaded.
    internal static class Reloads {
        private static void Main() {
            using (var range = new Range("--rate 100", 2)) {
                var clock = new Stopwatch();
                for (var i = 0; i < 30; ++i) {
                    var domain = AppDomain.CreateDomain("play");
                    domain.SetData("ports", range.Ports);
                    domain.DoCallBack(Play);
                    clock.Restart();
                    AppDomain.Unload(domain);
                }
                Console.Error.WriteLine("passed 30 reloads, the last in {0} ms", clock.ElapsedMilliseconds);
            }
        }

        private static void Play() {
            var ports = (string[])AppDomain.CurrentDomain.GetData("ports");
            var manager = new Manager();
            manager.AddAsync(ports[1]);
            manager.AddAsync(ports[0]).Now();
            manager.ConnectAsync(ports[0], true).Now();
            manager.StartTrainingAsync(ports[0]).Now();
            Checks.Until(() => manager.GetState(ports[0]).Records > 0);
            manager.ConnectAsync(ports[1]);
        }
    }
}
