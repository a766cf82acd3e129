using System;
using System.Diagnostics;
using System.IO;
using System.Linq;
using System.Threading.Tasks;

namespace Bx.Tests {
    // Some simulated devices, of the bx-sim that BX_SIM names, in a folder of their own.
    internal sealed class Range : IDisposable {
        public readonly string Folder = Path.Combine(Path.GetTempPath(), "bx-" + Guid.NewGuid().ToString("N"));
        public readonly string[] Ports;
        private readonly Process process;

        // "$F" in the options is the folder; `stream` becomes the file "stream" there.
        public Range(string options, int lanes = 1, string stream = "") {
            Directory.CreateDirectory(Folder);
            File.WriteAllText(Path.Combine(Folder, "stream"), stream);
            Ports = Enumerable.Range(0, lanes).Select(lane => Folder + "/lane" + lane).ToArray();
            var words = options.Replace("$F", Folder) + " --lanes " + lanes + " --link " + Folder + "/lane%d";
            process = Process.Start(new ProcessStartInfo(Environment.GetEnvironmentVariable("BX_SIM"), words) {
                UseShellExecute = false, RedirectStandardOutput = true
            });
            foreach (var port in Ports) process.StandardOutput.ReadLine();
        }

        public string Port => Ports[0];

        public Manager Connect() {
            var manager = new Manager();
            Task.WaitAll(Ports.Select(port => manager.AddAsync(port)).ToArray());
            manager.ConnectAllAsync(true).Now();
            return manager;
        }

        // Each lane has sent a record when it returns.
        public Manager Stream() {
            var manager = Connect();
            Task.WaitAll(Ports.Select(port => manager.SetSessionAsync(port, "{\"isInFieldMode\":true}")).ToArray());
            Task.WaitAll(Ports.Select(port => manager.StartTrainingAsync(port)).ToArray());
            Checks.Until(() => Ports.All(port => manager.GetState(port).Records > 0));
            return manager;
        }

        // Whether nobody else has the port.
        public bool IsFree() {
            try {
                Connect().Dispose();
                return true;
            } catch (BxException failure) when (failure.Status == BxStatus.Open) {
                return false;
            }
        }

        public void Dispose() {
            foreach (var port in Ports) File.Delete(port); // the system gives its terminal's name to others
            try {
                process.Kill();
            } catch (Exception) { // it has ended by itself, as it does when it hangs up
            }
            process.WaitForExit();
            Directory.Delete(Folder, true);
        }
    }
}
