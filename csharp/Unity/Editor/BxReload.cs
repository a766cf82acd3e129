using UnityEditor;

namespace Bx.Editor {
    /// <summary>Ends all lanes before scripts are loaded anew, so that no native thread holds that up.</summary>
    [InitializeOnLoad]
    internal static class BxReload {
        static BxReload() {
            AssemblyReloadEvents.beforeAssemblyReload += Lifetime.Shutdown;
        }
    }
}
