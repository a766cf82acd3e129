using NUnit.Framework;

namespace Bx.Unity.Tests {
    public class PluginTest {
        [Test]
        public void IsLoadedAndLoadsAgain() {
            for (var i = 0; i < 2; ++i) {
                using (var manager = new Manager())
                    Assert.Throws<BxException>(() => manager.GetState("/dev/no-such-port"));
                Lifetime.Shutdown();
            }
        }
    }
}
