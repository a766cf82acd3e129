using System;
using System.Diagnostics;
using System.IO;
using System.Threading;

namespace Bx.Tests {
    // What an engine's editor does at each Play: a domain that streams on one lane, and connects another one, is
    // unloaded. On a busy machine, too, one of the times is as short as all are on an idle one.
    internal static class Reloads {
        private static void Main() {
            using (var range = new Range("--rate 100", 2)) {
                var clock = new Stopwatch();
                var shortest = long.MaxValue;
                for (var i = 0; i < 30; ++i) {
                    var domain = AppDomain.CreateDomain("play");
                    domain.SetData("ports", range.Ports);
                    domain.DoCallBack(Play);
                    clock.Restart();
                    AppDomain.Unload(domain);
                    shortest = Math.Min(shortest, clock.ElapsedMilliseconds);
                }
                Checks.Holds(shortest < 100 && File.ReadAllText(range.Port + ".waited").Length == 30);
                Console.Error.WriteLine("passed 30 reloads, the last in {0} ms", clock.ElapsedMilliseconds);
            }
        }

        private static void Play() {
            var ports = (string[])AppDomain.CurrentDomain.GetData("ports");
            var manager = new Manager();
            foreach (var port in ports) manager.AddAsync(port).Now();
            manager.ConnectAsync(ports[0], true).Now();
            manager.StartTrainingAsync(ports[0]).Now();
            Checks.Until(() => manager.GetState(ports[0]).Records > 0);
            manager.ConnectAsync(ports[1]);
            // A report that lasts on when its call was ended, unless the unloading does not wait for it.
            var lasted = false;
            ManualResetEvent begun = new ManualResetEvent(false), unloads = new ManualResetEvent(false);
            var report = new Report { Tell = state => {
                begun.Set();
                Volatile.Write(ref lasted, !unloads.WaitOne(20));
            } };
            // A download waits for the connection, unless it has come before it: then it fails, and reports nothing.
            while (!begun.WaitOne(0)) {
                var download = manager.DownloadSessionAsync(ports[1], report);
                Checks.Until(() => download.IsCompleted || begun.WaitOne(0));
            }
            AppDomain.CurrentDomain.DomainUnload += (sender, none) => {
                Checks.Throws<AppDomainUnloadedException>(() => manager.GetTargetsAsync(ports[0]));
                if (Volatile.Read(ref lasted)) File.AppendAllText(ports[0] + ".waited", "1");
                unloads.Set();
            };
        }
    }
}
