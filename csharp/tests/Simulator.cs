using System;
using System.Diagnostics;
using System.IO;

namespace Bx.Tests
{
    // A bx-sim, the program that BX_SIM names, in a folder of its own.
    internal sealed class Simulator : IDisposable
    {
        public readonly string Folder = Path.Combine(Path.GetTempPath(), "bx-" + Guid.NewGuid().ToString("N"));
        public readonly string[] Ports;
        private readonly Process process;

        // "$F" in the options is the folder; `stream` becomes the file "stream" there.
        public Simulator(string options, int lanes = 1, string stream = "")
        {
            Directory.CreateDirectory(Folder);
            File.WriteAllText(Path.Combine(Folder, "stream"), stream);
            Ports = new string[lanes];
            var words = options.Replace("$F", Folder) + " --lanes " + lanes + " --link " + Folder + "/lane%d";
            var start = new ProcessStartInfo(Environment.GetEnvironmentVariable("BX_SIM"), words);
            start.UseShellExecute = false;
            start.RedirectStandardOutput = true;
            process = Process.Start(start);
            for (var i = 0; i < lanes; ++i)
            {
                if (process.StandardOutput.ReadLine() == null) throw new IOException("bx-sim " + words + " has ended");
                Ports[i] = Folder + "/lane" + i;
            }
        }

        public void Dispose()
        {
            if (!process.HasExited) process.Kill();
            process.WaitForExit();
            Directory.Delete(Folder, true);
        }
    }
}
